// getmem and rlsmem beside malloc and free, and a pool beside both: a working set of blocks of one
// size is taken and released, in the order of use and in a shuffled order.
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/pools.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

constexpr int BLOCKS = 1000;

std::vector<size_t> release_order(bool shuffled) {
    std::vector<size_t> order(BLOCKS);
    std::iota(order.begin(), order.end(), size_t{0});
    if (shuffled) {
        std::shuffle(order.begin(), order.end(), std::mt19937(1));
    }
    return order;
}

template <class Take, class Give>
void take_and_give_back(benchmark::State &state, Take take, Give give) {
    const std::vector<size_t> order = release_order(state.range(1) != 0);
    std::vector<void *> blocks(BLOCKS);
    for (auto _ : state) {
        for (void *&block : blocks) {
            block = take();
            benchmark::DoNotOptimize(block);
        }
        for (const size_t at : order) {
            give(blocks[at]);
        }
    }
    state.SetItemsProcessed(state.iterations() * BLOCKS);
}

void bench_malloc(benchmark::State &state) {
    const size_t size = static_cast<size_t>(state.range(0));
    take_and_give_back(
        state, [size] { return std::malloc(size); }, [](void *block) { std::free(block); });
}

// What getmem promises, by the C library alone: zeroed memory, overwritten when it is released.
void bench_malloc_cleared(benchmark::State &state) {
    const size_t size = static_cast<size_t>(state.range(0));
    take_and_give_back(
        state, [size] { return std::calloc(1, size); },
        [size](void *block) {
            std::memset(block, 0xff, size);
            benchmark::DoNotOptimize(block);
            benchmark::ClobberMemory();
            std::free(block);
        });
}

void bench_getmem(benchmark::State &state) {
    const int size = static_cast<int>(state.range(0));
    take_and_give_back(
        state, [size] { return getmem(size); }, [](void *block) { rlsmem(block); });
}

void bench_pool(benchmark::State &state) {
    const int pool = create_mem_pool("bench", static_cast<int>(state.range(0)));
    take_and_give_back(
        state, [pool] { return getmem_pool(pool); }, [](void *block) { rlsmem(block); });
}

void sizes(benchmark::internal::Benchmark *bench) {
    bench->ArgNames({"size", "shuffled"})->ArgsProduct({{32, 260, 344, 524, 2048}, {0, 1}});
}

BENCHMARK(bench_malloc)->Apply(sizes);
BENCHMARK(bench_malloc_cleared)->Apply(sizes);
BENCHMARK(bench_getmem)->Apply(sizes);
BENCHMARK(bench_pool)->Apply(sizes);

} // namespace
