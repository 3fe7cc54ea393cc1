// Thread-local objects and the manager of their indexes.
#include "basictk/baselib/inc/thrLocalObject.h"

#include "basictk/baselib/threadlibsrc/thrPosixMutex_internal.h"

#include <atomic>

constinit pthread_mutex_t thrLocalObject::c_mutexOnDefaultManager = PTHREAD_MUTEX_INITIALIZER;
constinit thrLocalObjectManager *thrLocalObject::mDefaultManager = nullptr;

namespace {

std::atomic_ref<void *> slot(thrSlotArray &slots, int index) {
    return std::atomic_ref<void *>(slots[index]);
}

} // namespace

thrLocalObjectManager::thrLocalObjectManager()
    : hasKey(pthread_key_create(&key, nullptr) == 0), lock(thr_new_posix_mutex()) {}

thrLocalObjectManager::~thrLocalObjectManager() {
    for (int i = 0; i < threadArrays.Count(); ++i) {
        delete threadArrays[i];
    }
    if (hasKey) {
        pthread_key_delete(key);
    }
    thr_delete_posix_mutex(lock);
}

int thrLocalObjectManager::TakeIndex() {
    thrPosixGuard guard(lock);
    const int last = freeIndexes.Count() - 1;
    if (last < 0) {
        return nextIndex++;
    }
    const int index = freeIndexes[last];
    freeIndexes._Remove(last, 1);
    return index;
}

int thrLocalObjectManager::GiveBackIndex(int index) {
    thrPosixGuard guard(lock);
    for (int i = 0; i < threadArrays.Count(); ++i) {
        thrSlotArray &slots = *threadArrays[i];
        if (index < slots.Count()) {
            slot(slots, index).store(nullptr, std::memory_order_relaxed);
        }
    }
    if (index == nextIndex - 1) {
        LowerNextIndex();
    } else {
        // If there is no memory the index stays taken, which does no harm.
        freeIndexes.Append(index);
    }
    return nextIndex - freeIndexes.Count();
}

void thrLocalObjectManager::LowerNextIndex() {
    --nextIndex;
    while (TakeFreeIndex(nextIndex - 1)) {
        --nextIndex;
    }
}

bool thrLocalObjectManager::TakeFreeIndex(int index) {
    for (int i = freeIndexes.Count() - 1; i >= 0; --i) {
        if (freeIndexes[i] == index) {
            freeIndexes._Remove(i, 1);
            return true;
        }
    }
    return false;
}

thrSlotArray *thrLocalObjectManager::SlotsFor(int index) {
    auto *slots = static_cast<thrSlotArray *>(pthread_getspecific(key));
    if (slots == nullptr) {
        slots = new thrSlotArray(index + 1);
        if (slots == nullptr || !RegisterTSDForCleanup(slots)) {
            delete slots;
            return nullptr;
        }
        if (pthread_setspecific(key, slots) != 0) {
            return nullptr; // the array stays with the manager
        }
    }
    return index < slots->Count() || Lengthen(slots, index) ? slots : nullptr;
}

bool thrLocalObjectManager::RegisterTSDForCleanup(thrSlotArray *slots) {
    thrPosixGuard guard(lock);
    return threadArrays.Append(slots);
}

bool thrLocalObjectManager::Lengthen(thrSlotArray *slots, int index) {
    thrPosixGuard guard(lock);
    return slots->_Insert(slots->Count(), index + 1 - slots->Count(), nullptr);
}

thrLocalObject::thrLocalObject(thrLocalObjectManager *of) {
    thrPosixGuard guard(&c_mutexOnDefaultManager);
    if (of == nullptr) {
        if (mDefaultManager == nullptr && !AllocateSystemKey()) {
            return;
        }
        of = mDefaultManager;
    }
    manager = of;
    key = of->Key();
    index = of->TakeIndex();
}

thrLocalObject::~thrLocalObject() {
    if (manager == nullptr) {
        return;
    }
    thrPosixGuard guard(&c_mutexOnDefaultManager);
    if (manager->GiveBackIndex(index) == 0 && manager == mDefaultManager) {
        DeallocateSystemKey();
    }
}

// Both must be called with c_mutexOnDefaultManager held: the manager's last object may go while a
// new one comes.
bool thrLocalObject::AllocateSystemKey() {
    mDefaultManager = new thrLocalObjectManager;
    if (mDefaultManager != nullptr && !mDefaultManager->IsValid()) {
        DeallocateSystemKey();
    }
    return mDefaultManager != nullptr;
}

void thrLocalObject::DeallocateSystemKey() {
    delete mDefaultManager;
    mDefaultManager = nullptr;
}

void *thrLocalObject::GetData() const {
    if (key == nullptr) {
        return nullptr;
    }
    auto *slots = static_cast<thrSlotArray *>(pthread_getspecific(*key));
    if (slots == nullptr || index >= slots->Count()) {
        return nullptr;
    }
    return slot(*slots, index).load(std::memory_order_relaxed);
}

bool thrLocalObject::SetData(void *value) {
    thrSlotArray *slots = manager != nullptr ? manager->SlotsFor(index) : nullptr;
    if (slots == nullptr) {
        return false;
    }
    slot(*slots, index).store(value, std::memory_order_relaxed);
    return true;
}

thrLocalObject *thrLocalObject_Create() {
    thrLocalObject *object = new thrLocalObject;
    if (object != nullptr && !object->IsValid()) {
        delete object;
        return nullptr;
    }
    return object;
}

void *thrLocalObject_GetData(const thrLocalObject *object) {
    return object != nullptr ? object->GetData() : nullptr;
}

bool thrLocalObject_SetData(thrLocalObject *object, void *value) {
    return object != nullptr && object->SetData(value);
}
