// The block allocator: every block of the core and of the tools comes from here.
#pragma once

void *getmem(int size);
void *getmem_xar(int size, int xar);
void *getmem_null(int size);
void *relocmem_xar(void *data, int new_size, int xar);
int rlsmem(void *data);
int relmem_address(void **data);

// Releases *data and sets it to null: 0 for a null address, else 1.
template <class T>
int relmem(T **data) {
    if (data == nullptr) {
        return 0;
    }
    void *untyped = *data;
    const int result = relmem_address(&untyped);
    *data = static_cast<T *>(untyped);
    return result;
}

int marking_mem_to_preserve();
void init_memory();
