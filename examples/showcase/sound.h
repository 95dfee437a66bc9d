// sound.h - what the showcase sounds like: music that is made while it plays, and effects that come from where the
// things are.
#pragma once

#include "world.h"

#include <memory>

class Music;

class Soundscape
{
public:
    Soundscape();
    ~Soundscape();

    /// Makes the sounds and opens the output, which only the music's start waits for. Without memory all stays silent.
    void start(const World& world);
    /// Moves the sounds with the world. Without a device it plays the output, too, so that time passes there.
    void advance(const World& world, INT32 milliseconds);
    void burst(); ///< the things come back
    void toggleMusic();

    INT32 loudest() const { return m_loudest; } ///< number that was played without a device, 0..32767

private:
    void hum(const World& world);
    void playWithoutDevice(INT32 milliseconds);

    std::unique_ptr<Music> m_music;
    std::unique_ptr<KxcAudioBuffer> m_chime, m_wind, m_hum;
    UINT32 m_musicId = 0, m_windId = 0, m_hums[World::kThings] = {}; // play ids; 0 of things that are too far away
    bool m_musicPlays = true, m_taken[World::kThings] = {};
    KxcFixed m_heroX, m_heroY, m_windVolume{0};
    INT32 m_unplayedMs = 0, m_loudest = 0;
};
