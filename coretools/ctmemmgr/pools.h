// Pools: many small records of one size from large areas.
#pragma once

int create_mem_pool(const char *name, int record_size);
int register_clump(const char *name, int size);
int find_non_id_clump(int size);
void *getmem_pool(int pool);
void *getmem_pool_xar(int pool, int xar);
int rlsmem_clump(void *data);
void *relocmem_clump(void *data, int new_size, int xar);
int mempool_of_slot(const void *data);
int init_clump_lock();
int get_dbg_memory_config();
