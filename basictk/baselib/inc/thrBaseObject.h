// The root of the thread library's objects: conversions in place of run-time type information.
#pragma once

#include "basictk/baselib/inc/btkNew.h"

class thrCThread;
class thrLocalObject;
class thrMutex;
class thrSemaphoreNative;
class thrSemaphoreNew;

// Each conversion returns null unless the object is of that class, which overrides it to return
// itself. Objects are destroyed through their own class, never through this one.
class thrBaseObject : public btkAllocated {
  public:
    thrBaseObject() = default;
    thrBaseObject(const thrBaseObject &) = delete;
    thrBaseObject &operator=(const thrBaseObject &) = delete;

    virtual operator thrCThread *() { return nullptr; }
    virtual operator thrLocalObject *() { return nullptr; }
    virtual operator thrMutex *() { return nullptr; }
    virtual operator thrSemaphoreNative *() { return nullptr; }
    virtual operator thrSemaphoreNew *() { return nullptr; }

  protected:
    ~thrBaseObject() = default;
};
