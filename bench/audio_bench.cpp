// audio_bench.cpp - the mixer: nanoseconds for each voice and output sample, latency of a call beside it.
//
// The scene: looping 16-bit mono sounds at 22050 Hz, 0.3 to 1.2 s long, into 32000 Hz stereo, each with a volume and a
// place of its own. The output is the headless one, clocked by hand: nothing but the mixer runs.
#include <kxcoreemb/kxcoreemb.h>

#include <algorithm>
#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cmath>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

namespace
{

constexpr INT32 kRate = 22050, kSamples = 2048; // of the sounds; of an output buffer
constexpr INT32 kSounds = 16;

UINT32 random(UINT32 below)
{
    static UINT32 seed = 7;
    seed = seed * 1664525u + 1013904223u;
    return static_cast<UINT32>((static_cast<UINT64>(seed) * below) >> 32);
}

/// A tone with a little noise.
std::unique_ptr<KxcAudioBuffer> makeSound(INT32 number, UINT32 flags, FLOAT32 rate)
{
    const INT32 samples = kRate * 3 / 10 + static_cast<INT32>(random(kRate * 9 / 10));
    std::unique_ptr<KxcAudioBuffer> sound(KxcAudioBuffer::create(rate, flags | KXCAUDIO_LOOP, samples, KxcFixed(1)));
    const INT32 channels = flags & KXCAUDIO_STEREO ? 2 : 1;
    UINT8* numbers = static_cast<UINT8*>(KxcAudio::lock(sound.get()));
    const double tone = 110 * std::pow(2, number / 5.0);
    for (INT32 i = 0; i < samples * channels; ++i)
    {
        const double value =
            2500 * std::sin(2 * 3.14159265 * tone * (i / channels) / kRate) + static_cast<double>(random(800)) - 400;
        const INT16 number16 = static_cast<INT16>(value);
        if (flags & KXCAUDIO_16BIT)
            std::memcpy(numbers + i * 2, &number16, 2);
        else
            numbers[i] = static_cast<UINT8>((number16 >> 8) + (flags & KXCAUDIO_SIGNED ? 0 : 0x80));
    }
    KxcAudio::unlock(sound.get());
    return sound;
}

class Scene
{
public:
    Scene(INT32 voices, UINT32 flags, UINT32 quality, FLOAT32 rate = kRate)
    {
        embeddedInit(32, 16, nullptr, nullptr, nullptr);
        kxcUseAudioDefault();
        KxcAudio::setAudioFormat(nullptr, 256, quality);
        for (INT32 i = 0; i < kSounds; ++i)
            m_sounds.push_back(makeSound(i, flags, rate));
        for (INT32 i = 0; i < voices; ++i)
            KxcAudio::play(m_sounds[static_cast<size_t>(i % kSounds)].get(), rate,
                           KxcFixed::fromRaw(6554 + static_cast<INT32>(random(52428))),
                           KxcFixed::fromRaw(static_cast<INT32>(random(65536))));
    }
    ~Scene()
    {
        m_sounds.clear();
        embeddedDeinit();
    }
    KxcAudioBuffer* sound() { return m_sounds[0].get(); }

private:
    std::vector<std::unique_ptr<KxcAudioBuffer>> m_sounds;
};

void mix(benchmark::State& state, UINT32 flags, UINT32 quality, FLOAT32 rate)
{
    const INT32 voices = static_cast<INT32>(state.range(0));
    Scene scene(voices, flags, quality, rate);
    INT16 played[kSamples * 2];
    for (auto _ : state)
        benchmark::DoNotOptimize(embeddedSoundFrame(played));
    state.counters["ns/voice/sample"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * voices * kSamples * 1e-9,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
constexpr UINT32 kMono16 = KXCAUDIO_16BIT | KXCAUDIO_SIGNED;
BENCHMARK_CAPTURE(mix, mono16, kMono16, 1, kRate)->Arg(8)->Arg(32)->Arg(128);
BENCHMARK_CAPTURE(mix, mono16_nearest, kMono16, 0, kRate)->Arg(128);
BENCHMARK_CAPTURE(mix, mono8, 0, 1, kRate)->Arg(128);
BENCHMARK_CAPTURE(mix, stereo16, kMono16 | KXCAUDIO_STEREO, 1, kRate)->Arg(128);
BENCHMARK_CAPTURE(mix, stereo8, KXCAUDIO_STEREO, 1, kRate)->Arg(128);
BENCHMARK_CAPTURE(mix, mono16_44100, kMono16, 1, 44100)->Arg(128);
BENCHMARK_CAPTURE(mix, mono16_96000, kMono16, 1, 96000)->Arg(128);

void silence(benchmark::State& state) // a pass without a voice, beside a memset of what it mixes
{
    Scene scene(0, kMono16, 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(embeddedSoundFrame(nullptr));
}
BENCHMARK(silence);

void silenceByMemset(benchmark::State& state)
{
    INT16 played[kSamples * 2];
    for (auto _ : state)
    {
        std::memset(played, 0, sizeof played);
        benchmark::DoNotOptimize(played);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(silenceByMemset);

/// The longest of 200 calls of play() while another thread does nothing but mix 256 voices, and a pass of that thread.
void playBesideTheMixer(benchmark::State& state)
{
    typedef std::chrono::steady_clock Clock;
    Scene scene(256, kMono16, 1);
    std::atomic<bool> ends{false};
    double longest = 0, pass = 1e9;
    std::thread mixer(
        [&]
        {
            while (!ends)
            {
                const Clock::time_point start = Clock::now();
                embeddedSoundFrame(nullptr);
                pass = std::min(pass, std::chrono::duration<double>(Clock::now() - start).count());
            }
        });
    for (auto _ : state)
        for (INT32 i = 0; i < 200; ++i)
        {
            const Clock::time_point start = Clock::now();
            KxcAudio::play(scene.sound());
            longest = std::max(longest, std::chrono::duration<double>(Clock::now() - start).count());
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    ends = true;
    mixer.join();
    state.counters["longest_us"] = longest * 1e6;
    state.counters["pass_us"] = pass * 1e6;
    state.counters["longest/pass"] = longest / pass;
}
// Other programs stretch single calls: the least and the median of many runs tell.
BENCHMARK(playBesideTheMixer)
    ->Iterations(1)
    ->Repetitions(15)
    ->ReportAggregatesOnly()
    ->ComputeStatistics("min", [](const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); });

} // namespace
