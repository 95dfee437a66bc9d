// memory_bench.cpp - the engine's heap: random traces of allocations and frees, next to the C library's.
//
// small    up to 72 bytes: lists of exact sizes
// mixed    16 to 4096 bytes, log-uniform, in a pool a quarter larger than the most that is alive
// worst    the longest single operation of the mixed trace, each at its best of five runs
// merging  what every so many of them waits for: all free blocks of the mixed trace are merged
#include <kxcoreemb/kxcoreemb.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

namespace
{

constexpr UINT32 kLive = 8000, kOperations = 1000000;

struct Operation
{
    UINT32 slot, bytes; // 0: frees the slot
};

struct Trace
{
    explicit Trace(UINT32 largest)
    {
        std::mt19937 random(11);
        std::uniform_real_distribution<double> unit;
        std::vector<UINT32> used, spare, bytes(2 * kLive);
        for (UINT32 i = 0; i < 2 * kLive; ++i)
            spare.push_back(i);
        UINT32 alive = 0;
        const auto free = [&](size_t place)
        {
            operations.push_back({used[place], 0});
            alive -= bytes[used[place]];
            spare.push_back(used[place]);
            used[place] = used.back();
            used.pop_back();
        };
        while (operations.size() < kOperations)
            if (used.empty() || (random() % (2 * kLive) >= used.size() && !spare.empty()))
            {
                const UINT32 slot = spare.back(), size = UINT32(16 * std::exp(unit(random) * std::log(largest / 16.0)));
                spare.pop_back();
                used.push_back(slot);
                operations.push_back({slot, size});
                peak = std::max(peak, alive += bytes[slot] = size);
            }
            else
                free(random() % used.size());
        while (!used.empty())
            free(used.size() - 1);
    }
    std::vector<Operation> operations;
    UINT32 peak = 0;
};

struct Engine
{
    explicit Engine(UINT32 pool)
    {
        embeddedInit(32, 16, nullptr, nullptr, nullptr);
        kxcUseMemoryManager(pool);
    }
    ~Engine() { embeddedDeinit(); }
};

void* ourAlloc(UINT32 bytes) { return KxcMemoryManager::memAlloc(bytes, 0); }
void ourFree(void* block) { KxcMemoryManager::memFree(block); }
void* libraryAlloc(UINT32 bytes) { return std::malloc(bytes); }

template <void* (*kAlloc)(UINT32), void (*kFree)(void*)>
struct Allocator
{
    INT64 failed = 0;
    std::vector<void*> slots = std::vector<void*>(2 * kLive);

    void run(const Operation& o)
    {
        void*& slot = slots[o.slot];
        if (o.bytes && (slot = kAlloc(o.bytes)))
            *static_cast<volatile char*>(slot) = 1;
        else if (o.bytes)
            ++failed;
        else if (slot)
            kFree(slot), slot = nullptr;
    }
};

template <class A>
void whole(benchmark::State& state, UINT32 largest)
{
    const Trace trace(largest);
    const Engine engine(trace.peak / 4 * 5);
    A allocator;
    for (auto _ : state)
        for (const Operation& o : trace.operations)
            allocator.run(o);
    if (allocator.failed)
        state.SkipWithError("the pool was exhausted");
    state.counters["ns/operation"] =
        benchmark::Counter(double(trace.operations.size()) * 1e-9,
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <class A>
void worst(benchmark::State& state)
{
    const Trace trace(4096);
    const Engine engine(trace.peak / 4 * 5);
    A allocator;
    std::vector<double> best(trace.operations.size(), 1e9);
    for (auto _ : state)
        for (INT32 run = 0; run < 5; ++run)
            for (size_t i = 0; i < best.size(); ++i)
            {
                const auto start = std::chrono::steady_clock::now();
                allocator.run(trace.operations[i]);
                const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - start;
                best[i] = std::min(best[i], time.count());
            }
    std::sort(best.begin(), best.end());
    state.counters["longest_us"] = best.back() / 1000;
    state.counters["99.9%_us"] = best[best.size() - best.size() / 1000] / 1000;
    state.counters["pool"] = trace.peak / 4 * 5;
}

typedef Allocator<ourAlloc, ourFree> Ours;

void merging(benchmark::State& state)
{
    const Trace trace(4096);
    const Engine engine(trace.peak / 4 * 5);
    Allocator<ourAlloc, ourFree> allocator;
    size_t at = 0;
    UINT32 blocks = 0, rounds = 0;
    for (auto _ : state)
    {
        state.PauseTiming();
        for (UINT32 i = 0; i < 50000; ++i)
            allocator.run(trace.operations[at++ % trace.operations.size()]);
        const UINT32 before = KxcMemoryManager::getFreeMemory();
        state.ResumeTiming();
        KxcMemoryManager::coalesceMemory();
        blocks += (KxcMemoryManager::getFreeMemory() - before) / 4;
        ++rounds;
    }
    state.counters["merged"] = double(blocks) / rounds;
}
typedef Allocator<libraryAlloc, std::free> Library;

void heap(benchmark::State& state, UINT32 largest) { whole<Ours>(state, largest); }
void library(benchmark::State& state, UINT32 largest) { whole<Library>(state, largest); }

BENCHMARK_CAPTURE(heap, small, 72)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(library, small, 72)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(heap, mixed, 4096)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(library, mixed, 4096)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(worst, Ours)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(worst, Library)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(merging)->Iterations(100)->Unit(benchmark::kMicrosecond);

} // namespace
