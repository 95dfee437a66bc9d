// math_bench.cpp - the fixed-point functions that a frame calls most: an item is one call.
#include <kxcoreemb/kxcoreemb.h>

#include <benchmark/benchmark.h>

#include <array>

namespace
{

/// The tables need a core.
struct Core
{
    Core() { embeddedInit(32, 32, nullptr, nullptr, nullptr); }
    ~Core() { embeddedDeinit(); }
};

constexpr INT32 kArguments = 1024;

/// Spread over -32768..32767 without a pattern, shifted right to the size wanted.
std::array<KxcFixed, kArguments> arguments(INT32 shift)
{
    std::array<KxcFixed, kArguments> values;
    UINT32 state = 1;
    for (KxcFixed& value : values)
    {
        state = state * 1664525u + 1013904223u;
        value = KxcFixed::fromRaw(static_cast<INT32>(state) >> shift);
    }
    return values;
}

template <KxcFixed (*kFunction)(KxcFixed)>
void scalar(benchmark::State& state)
{
    const Core core;
    const auto values = arguments(static_cast<INT32>(state.range(0)));
    for (auto _ : state)
        for (KxcFixed value : values)
            benchmark::DoNotOptimize(kFunction(value));
    state.SetItemsProcessed(state.iterations() * kArguments);
}

void atan2(benchmark::State& state)
{
    const Core core;
    const auto values = arguments(8);
    for (auto _ : state)
        for (INT32 i = 0; i < kArguments; ++i)
            benchmark::DoNotOptimize(KxcMath::atan2(values[i], values[kArguments - 1 - i]));
    state.SetItemsProcessed(state.iterations() * kArguments);
}

KxcMatrix4 camera()
{
    KxcMatrix4 m;
    return KxcMath::matrixLookAt(m, {3, 4, 5}, {0, 1, 0}, {0, 1, 0});
}

void matrixMultiply(benchmark::State& state)
{
    KxcMatrix4 a = camera(), b = camera();
    for (auto _ : state)
        benchmark::DoNotOptimize(KxcMath::matrixMultiply(a, b, a));
    state.SetItemsProcessed(state.iterations());
}

void matrixInverse(benchmark::State& state)
{
    KxcMatrix4 m = camera();
    for (auto _ : state)
        benchmark::DoNotOptimize(KxcMath::matrixInverse(m));
    state.SetItemsProcessed(state.iterations());
}

void matrixTransform(benchmark::State& state)
{
    const KxcMatrix4 m = camera();
    const auto values = arguments(10);
    KxcVector3 out;
    for (auto _ : state)
        for (INT32 i = 0; i + 2 < kArguments; i += 3)
            benchmark::DoNotOptimize(KxcMath::matrixTransform(m, {values[i], values[i + 1], values[i + 2]}, out));
    state.SetItemsProcessed(state.iterations() * (kArguments / 3));
}

void matrixProject(benchmark::State& state)
{
    const KxcMatrix4 m = camera();
    const auto values = arguments(10);
    KxcVector4 out;
    for (auto _ : state)
        for (INT32 i = 0; i + 2 < kArguments; i += 3)
            benchmark::DoNotOptimize(KxcMath::matrixProject(m, {values[i], values[i + 1], values[i + 2], 1}, out));
    state.SetItemsProcessed(state.iterations() * (kArguments / 3));
}

void quaternionSlerp(benchmark::State& state)
{
    const Core core;
    KxcQuaternion a, b, out;
    KxcMath::quaternionRotationXYZ(a, 1, 2, 3);
    KxcMath::quaternionRotationXYZ(b, 3, 1, 2);
    for (auto _ : state)
        benchmark::DoNotOptimize(KxcMath::quaternionSlerp(a, b, KxcFixed(0.3), out));
    state.SetItemsProcessed(state.iterations());
}

} // namespace

BENCHMARK(scalar<KxcMath::sin>)->Name("sin")->Arg(12);
BENCHMARK(scalar<KxcMath::sqrt>)->Name("sqrt")->Arg(0);
BENCHMARK(scalar<KxcMath::exp>)->Name("exp")->Arg(13);
BENCHMARK(scalar<KxcMath::log>)->Name("log")->Arg(0);
BENCHMARK(atan2);
BENCHMARK(matrixMultiply);
BENCHMARK(matrixInverse);
BENCHMARK(matrixTransform);
BENCHMARK(matrixProject);
BENCHMARK(quaternionSlerp);
