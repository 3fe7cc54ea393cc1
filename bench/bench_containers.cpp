// Extensible arrays beside std::vector, red-black trees beside std::map.
#include "coretools/ctmemmgr/btree.h"
#include "coretools/ctmemmgr/xar.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <numeric>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

void bench_vector_push_back(benchmark::State &state) {
    const int64_t count = state.range(0);
    for (auto _ : state) {
        std::vector<void *> list;
        for (int64_t i = 0; i < count; ++i) {
            list.push_back(&list);
        }
        benchmark::DoNotOptimize(list.data());
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void bench_xar_append(benchmark::State &state) {
    const int64_t count = state.range(0);
    for (auto _ : state) {
        void **list = xar_alloc_of<void *>(0, 100);
        for (int64_t i = 0; i < count; ++i) {
            void *element = &list;
            xar_append(&list, 1, &element);
        }
        benchmark::DoNotOptimize(list);
        xar_free(&list);
    }
    state.SetItemsProcessed(state.iterations() * count);
}

std::vector<intptr_t> shuffled_keys(int64_t count) {
    std::vector<intptr_t> keys(static_cast<size_t>(count));
    std::iota(keys.begin(), keys.end(), intptr_t{0});
    std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
    return keys;
}

int compare_keys(const void *a, const void *b) {
    const intptr_t left = reinterpret_cast<intptr_t>(a);
    const intptr_t right = reinterpret_cast<intptr_t>(b);
    return (left > right) - (left < right);
}

// The standard tree ordered in the same way: through a function that it cannot look into.
struct key_less {
    int (*compare)(const void *, const void *);
    bool operator()(const void *a, const void *b) const { return compare(a, b) < 0; }
};

void bench_map_find(benchmark::State &state) {
    const std::vector<intptr_t> keys = shuffled_keys(state.range(0));
    std::map<const void *, int, key_less> map(key_less{compare_keys});
    for (const intptr_t key : keys) {
        map.emplace(reinterpret_cast<const void *>(key), 0);
    }
    for (auto _ : state) {
        for (const intptr_t key : keys) {
            benchmark::DoNotOptimize(map.find(reinterpret_cast<const void *>(key)));
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void bench_rbtree_lookup(benchmark::State &state) {
    const std::vector<intptr_t> keys = shuffled_keys(state.range(0));
    btree *tree = new_rbtree(0);
    for (const intptr_t key : keys) {
        insert_data_into_rbtree(tree, reinterpret_cast<void *>(key), compare_keys);
    }
    for (auto _ : state) {
        for (const intptr_t key : keys) {
            benchmark::DoNotOptimize(
                btree_lookup(tree, reinterpret_cast<const void *>(key), compare_keys));
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void bench_map_insert_erase(benchmark::State &state) {
    const std::vector<intptr_t> keys = shuffled_keys(state.range(0));
    std::map<const void *, int, key_less> map(key_less{compare_keys});
    for (auto _ : state) {
        for (const intptr_t key : keys) {
            map.emplace(reinterpret_cast<const void *>(key), 0);
        }
        for (const intptr_t key : keys) {
            map.erase(reinterpret_cast<const void *>(key));
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void bench_rbtree_insert_delete(benchmark::State &state) {
    const std::vector<intptr_t> keys = shuffled_keys(state.range(0));
    btree *tree = new_rbtree(0);
    for (auto _ : state) {
        for (const intptr_t key : keys) {
            insert_data_into_rbtree(tree, reinterpret_cast<void *>(key), compare_keys);
        }
        for (const intptr_t key : keys) {
            rbtree_delete_node(
                tree, btree_lookup(tree, reinterpret_cast<const void *>(key), compare_keys));
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(bench_vector_push_back)->Arg(100)->Arg(10000)->Arg(200000);
BENCHMARK(bench_xar_append)->Arg(100)->Arg(10000)->Arg(200000);
BENCHMARK(bench_map_find)->Arg(256)->Arg(10000);
BENCHMARK(bench_rbtree_lookup)->Arg(256)->Arg(10000);
BENCHMARK(bench_map_insert_erase)->Arg(256)->Arg(10000);
BENCHMARK(bench_rbtree_insert_delete)->Arg(256)->Arg(10000);

} // namespace
