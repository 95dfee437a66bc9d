// sound.cpp - a synthesizer of table lookups for the music, and buffers of computed samples for the effects.
#include "sound.h"

#include <cstdlib>
#include <initializer_list>
#include <new>

namespace
{

constexpr INT32 kMusicRate = 16000, kEffectRate = 11025;
constexpr INT32 kWave = 256;                // samples of a period in the table
constexpr INT32 kStep = kMusicRate * 2 / 9; // samples from note to note
const KxcFixed kFullTurn(6.28318531);
constexpr INT32 kHearing = 150; // pixels: how far a thing is heard
const KxcFixed kCentre(0.5);

/// Semitones above A2, four chords of eight notes; the first of each is the bass.
constexpr INT8 kScore[] = {0,  12, 16, 19, 24, 19, 16, 12, -4, 12, 15, 20, 24, 20, 15, 12,
                           -7, 9,  12, 17, 21, 17, 12, 9,  -5, 11, 14, 19, 23, 19, 14, 11};
constexpr INT32 kNotes = sizeof kScore;

INT16 wave[kWave]; // a sine with a little of its octave

void makeWave()
{
    for (INT32 i = 0; i < kWave; ++i)
    {
        const KxcFixed angle = kFullTurn * i / kWave;
        wave[i] = static_cast<INT16>(static_cast<INT32>(KxcMath::sin(angle) * 20000 + KxcMath::sin(angle * 2) * 7000));
    }
}

/// Table steps for each sample, 16.16, of a note.
UINT32 pitch(INT32 semitones)
{
    UINT32 step = 110u * kWave * 65536 / kMusicRate;
    for (; semitones < 0; semitones += 12)
        step /= 2;
    for (; semitones >= 12; semitones -= 12)
        step *= 2;
    for (; semitones > 0; --semitones)
        step += step / 17; // 1.0588: a semitone, but for a 50th of one
    return step;
}

/// An 8-bit sound of computed samples, -128..127.
template <class F>
std::unique_ptr<KxcAudioBuffer> makeEffect(INT32 samples, UINT32 flags, F sampleAt)
{
    std::unique_ptr<KxcAudioBuffer> effect(KxcAudioBuffer::create(kEffectRate, flags, samples, KxcFixed(1)));
    if (UINT8* memory = static_cast<UINT8*>(KxcAudio::lock(effect.get())))
        for (INT32 i = 0; i < samples; ++i)
            memory[i] = static_cast<UINT8>(sampleAt(i) + 128);
    KxcAudio::unlock(effect.get());
    return effect;
}

} // namespace

/// Broken chords over a bass, two notes at a time.
class Music : public KxcAudioStream
{
public:
    static std::unique_ptr<Music> create()
    {
        std::unique_ptr<Music> music(new (std::nothrow) Music);
        if (music && !music->initialize(kMusicRate, KXCAUDIO_16BIT | KXCAUDIO_SIGNED | KXCAUDIO_STEREO, KxcFixed(0.4),
                                        kCentre, 0))
            music.reset();
        return music;
    }
    ~Music() override { KxcAudio::stopEach(this); }

    void fill(void* data, INT32 length, INT32 start, INT32 count) override
    {
        INT16* pairs = static_cast<INT16*>(data);
        for (INT32 i = 0; i < count; ++i, start = start + 1 < length ? start + 1 : 0)
        {
            if (m_untilNote-- == 0)
                nextNote();
            m_lead.loudness -= m_lead.loudness >> 12; // fades to a third within a note's time
            m_bass.loudness -= m_bass.loudness >> 13;
            const INT32 lead = m_lead.next(), bass = m_bass.next();
            pairs[start * 2] = static_cast<INT16>((m_onLeft ? lead : lead / 2) + bass);
            pairs[start * 2 + 1] = static_cast<INT16>((m_onLeft ? lead / 2 : lead) + bass);
        }
    }

private:
    struct Voice
    {
        UINT32 phase, step; // 16.16, in the table
        INT32 loudness;     // 0..32767 << 8
        INT32 next()
        {
            phase += step;
            return (wave[phase >> 16 & (kWave - 1)] * (loudness >> 9)) >> 15;
        }
    };
    void nextNote()
    {
        m_untilNote = kStep - 1;
        m_lead = {0, pitch(kScore[m_note]), 32767 << 8};
        if (m_note % 8 == 0)
            m_bass = {0, pitch(kScore[m_note]) / 2, 32767 << 8};
        m_onLeft = !m_onLeft;
        m_note = (m_note + 1) % kNotes;
    }

    Voice m_lead = {}, m_bass = {};
    INT32 m_untilNote = 0, m_note = 0;
    bool m_onLeft = false;
};

Soundscape::Soundscape() = default;
Soundscape::~Soundscape() = default;

void Soundscape::start(const World& world)
{
    m_heroX = world.heroX(), m_heroY = world.heroY();
    makeWave();
    UINT32 seed = 1;
    const auto noise = [&] { return static_cast<INT32>((seed = seed * 1664525u + 1013904223u) >> 24) - 128; };
    m_chime = makeEffect(kEffectRate / 2, 0,
                         [](INT32 i)
                         {
                             const INT32 fade = kEffectRate / 2 - i;
                             return wave[i * 24 % kWave] / 256 * (fade / 8) / (kEffectRate / 16);
                         });
    INT32 smooth = 0;
    m_wind = makeEffect(kEffectRate, KXCAUDIO_LOOP, [&](INT32) { return smooth += (noise() - smooth) / 8; });
    m_hum = makeEffect(kWave, KXCAUDIO_LOOP, [](INT32 i) { return (wave[i * 3 % kWave] + wave[i * 5 % kWave]) / 512; });
    m_music = Music::create();
    KxcAudio::setAudioFormat(nullptr, 16, 1);
    m_musicId = KxcAudio::play(m_music.get());
    m_windId = KxcAudio::play(m_wind.get(), kEffectRate, KxcFixed(0), kCentre, 1);
}

void Soundscape::toggleMusic()
{
    m_musicPlays = !m_musicPlays;
    m_musicPlays ? KxcAudio::resume(m_musicId) : KxcAudio::pause(m_musicId);
}

void Soundscape::burst() { KxcAudio::play(m_wind.get(), kEffectRate * 3, KxcFixed(1), kCentre, 100); }

void Soundscape::advance(const World& world, INT32 milliseconds)
{
    // What was just caught chimes where it was.
    for (INT32 i = 0; i < World::kThings; ++i)
    {
        const Thing& thing = world.things()[i];
        if (thing.taken && !m_taken[i])
            KxcAudio::play(m_chime.get(), static_cast<FLOAT32>(kEffectRate + i % 8 * 1300), KxcFixed(0.7),
                           kCentre + world.toThingX(thing) / 48, 50);
        m_taken[i] = thing.taken;
    }
    // The wind is as loud as the flight is fast, and follows slowly.
    const KxcFixed x = World::distance(m_heroX, world.heroX()), y = World::distance(m_heroY, world.heroY());
    const KxcFixed passed = (x < KxcFixed(0) ? -x : x) + (y < KxcFixed(0) ? -y : y);
    m_heroX = world.heroX(), m_heroY = world.heroY();
    if (milliseconds > 0)
        m_windVolume += (passed * 3 / milliseconds - m_windVolume) / 16;
    KxcAudio::setVolume(m_windId, m_windVolume);
    hum(world);
    playWithoutDevice(milliseconds);
}

/// The gems around the glider hum, each at its side, louder when near.
void Soundscape::hum(const World& world)
{
    for (INT32 i = 0; i < World::kThings; ++i)
    {
        const Thing& thing = world.things()[i];
        const KxcFixed x = world.toThingX(thing), y = world.toThingY(thing);
        const KxcFixed far = (x < KxcFixed(0) ? -x : x) + (y < KxcFixed(0) ? -y : y);
        const bool heard = !thing.taken && thing.sheet == SHEET_GEMS && far < KxcFixed(kHearing);
        if (!heard)
        {
            KxcAudio::stop(m_hums[i]); // no id, no sound
            m_hums[i] = 0;
            continue;
        }
        const KxcFixed volume = (KxcFixed(1) - far / kHearing) / 3, panning = kCentre + x / (2 * kHearing);
        if (!KxcAudio::isPlaying(m_hums[i])) // nor does it while more important sounds have all channels
            m_hums[i] = KxcAudio::play(m_hum.get(), static_cast<FLOAT32>(kEffectRate + i % 5 * 900), volume, panning);
        KxcAudio::setVolume(m_hums[i], volume);
        KxcAudio::setPanning(m_hums[i], panning);
    }
}

void Soundscape::playWithoutDevice(INT32 milliseconds)
{
    constexpr INT32 kBufferMs = 64;
    INT16 played[4096];
    for (m_unplayedMs += milliseconds; m_unplayedMs >= kBufferMs; m_unplayedMs -= kBufferMs)
    {
        const INT32 numbers = embeddedSoundFrame(played) / 2;
        for (INT32 i = 0; i < numbers; ++i)
            m_loudest = std::abs(static_cast<INT32>(played[i])) > m_loudest ? std::abs(played[i]) : m_loudest;
    }
}
