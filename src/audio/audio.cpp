// audio.cpp - the facade: every call goes to the device that is registered in the core.
#include "audio/audio_device.h"
#include "core/core_state.h"

static KxcAudioDevice* device() { return kxcCore ? kxcCore->audioDevice : nullptr; }

void* KxcAudio::lock(KxcAudioProducer* producer) { return device() ? device()->lock(producer) : nullptr; }
void KxcAudio::unlock(KxcAudioProducer* producer)
{
    if (device())
        device()->unlock(producer);
}
UINT32 KxcAudio::play(KxcAudioProducer* producer, FLOAT32 rate, KxcFixed volume, KxcFixed panning, UINT16 priority)
{
    return device() ? device()->play(producer, rate, volume, panning, priority) : 0;
}
UINT32 KxcAudio::play(KxcAudioProducer* producer, FLOAT32 rate, KxcFixed volume, KxcFixed panning)
{
    return device() ? device()->play(producer, rate, volume, panning) : 0;
}
UINT32 KxcAudio::play(KxcAudioProducer* producer, FLOAT32 rate, KxcFixed volume)
{
    return device() ? device()->play(producer, rate, volume) : 0;
}
UINT32 KxcAudio::play(KxcAudioProducer* producer, FLOAT32 rate)
{
    return device() ? device()->play(producer, rate) : 0;
}
UINT32 KxcAudio::play(KxcAudioProducer* producer) { return device() ? device()->play(producer) : 0; }
INT32 KxcAudio::stop(UINT32 id) { return device() ? device()->stop(id) : 0; }
INT32 KxcAudio::stopEach(KxcAudioProducer* producer) { return device() ? device()->stopEach(producer) : 0; }
INT32 KxcAudio::stopAll() { return device() ? device()->stopAll() : 0; }
INT32 KxcAudio::pause(UINT32 id) { return device() ? device()->pause(id) : 0; }
INT32 KxcAudio::pauseEach(KxcAudioProducer* producer) { return device() ? device()->pauseEach(producer) : 0; }
INT32 KxcAudio::pauseAll() { return device() ? device()->pauseAll() : 0; }
INT32 KxcAudio::resume(UINT32 id) { return device() ? device()->resume(id) : 0; }
INT32 KxcAudio::resumeEach(KxcAudioProducer* producer) { return device() ? device()->resumeEach(producer) : 0; }
INT32 KxcAudio::resumeAll() { return device() ? device()->resumeAll() : 0; }
INT32 KxcAudio::isPlaying(UINT32 id) { return device() ? device()->isPlaying(id) : 0; }
INT32 KxcAudio::getPlayhead(UINT32 id) { return device() ? device()->getPlayhead(id) : -1; }
INT32 KxcAudio::getSamples(KxcAudioProducer* producer) { return device() ? device()->getSamples(producer) : 0; }
INT32 KxcAudio::setSamples(KxcAudioProducer* producer, INT32 samples)
{
    return device() ? device()->setSamples(producer, samples) : 0;
}
INT32 KxcAudio::getLooping(KxcAudioProducer* producer) { return device() ? device()->getLooping(producer) : 0; }
INT32 KxcAudio::getLooping(UINT32 id) { return device() ? device()->getLooping(id) : 0; }
INT32 KxcAudio::setLooping(KxcAudioProducer* producer, INT32 looping)
{
    return device() ? device()->setLooping(producer, looping) : 0;
}
INT32 KxcAudio::setLooping(UINT32 id, INT32 looping) { return device() ? device()->setLooping(id, looping) : 0; }
INT32 KxcAudio::getLoopOffsets(KxcAudioProducer* producer, INT32& start, INT32& end)
{
    return device() ? device()->getLoopOffsets(producer, start, end) : 0;
}
INT32 KxcAudio::getLoopOffsets(UINT32 id, INT32& start, INT32& end)
{
    return device() ? device()->getLoopOffsets(id, start, end) : 0;
}
INT32 KxcAudio::setLoopOffsets(KxcAudioProducer* producer, INT32 start, INT32 end)
{
    return device() ? device()->setLoopOffsets(producer, start, end) : 0;
}
INT32 KxcAudio::setLoopOffsets(UINT32 id, INT32 start, INT32 end)
{
    return device() ? device()->setLoopOffsets(id, start, end) : 0;
}
FLOAT32 KxcAudio::getSamplingRate(KxcAudioProducer* producer)
{
    return device() ? device()->getSamplingRate(producer) : 0;
}
FLOAT32 KxcAudio::getSamplingRate(UINT32 id) { return device() ? device()->getSamplingRate(id) : 0; }
INT32 KxcAudio::setSamplingRate(KxcAudioProducer* producer, FLOAT32 rate)
{
    return device() ? device()->setSamplingRate(producer, rate) : 0;
}
INT32 KxcAudio::setSamplingRate(UINT32 id, FLOAT32 rate) { return device() ? device()->setSamplingRate(id, rate) : 0; }
KxcFixed KxcAudio::getVolume(KxcAudioProducer* producer)
{
    return device() ? device()->getVolume(producer) : KxcFixed(0);
}
KxcFixed KxcAudio::getVolume(UINT32 id) { return device() ? device()->getVolume(id) : KxcFixed(0); }
INT32 KxcAudio::setVolume(KxcAudioProducer* producer, KxcFixed volume)
{
    return device() ? device()->setVolume(producer, volume) : 0;
}
INT32 KxcAudio::setVolume(UINT32 id, KxcFixed volume) { return device() ? device()->setVolume(id, volume) : 0; }
KxcFixed KxcAudio::getPanning(KxcAudioProducer* producer)
{
    return device() ? device()->getPanning(producer) : KxcFixed(0);
}
KxcFixed KxcAudio::getPanning(UINT32 id) { return device() ? device()->getPanning(id) : KxcFixed(0); }
INT32 KxcAudio::setPanning(KxcAudioProducer* producer, KxcFixed panning)
{
    return device() ? device()->setPanning(producer, panning) : 0;
}
INT32 KxcAudio::setPanning(UINT32 id, KxcFixed panning) { return device() ? device()->setPanning(id, panning) : 0; }
UINT16 KxcAudio::getPriority(KxcAudioProducer* producer)
{
    return device() ? device()->getPriority(producer) : UINT16(0);
}
UINT16 KxcAudio::getPriority(UINT32 id) { return device() ? device()->getPriority(id) : UINT16(0); }
INT32 KxcAudio::setPriority(KxcAudioProducer* producer, UINT16 priority)
{
    return device() ? device()->setPriority(producer, priority) : 0;
}
INT32 KxcAudio::setPriority(UINT32 id, UINT16 priority) { return device() ? device()->setPriority(id, priority) : 0; }
KxcAudioFormat KxcAudio::getFormat(KxcAudioProducer* producer)
{
    return device() ? device()->getFormat(producer) : KxcAudioFormat();
}
KxcFixed KxcAudio::getMasterVolume() { return device() ? device()->getMasterVolume() : KxcFixed(0); }
INT32 KxcAudio::setMasterVolume(KxcFixed volume) { return device() ? device()->setMasterVolume(volume) : 0; }
INT32 KxcAudio::getChannelCount() { return device() ? device()->getChannelCount() : 0; }
INT32 KxcAudio::setChannelCount(INT32 channels) { return device() ? device()->setChannelCount(channels) : 0; }
KxcAudioFormat KxcAudio::setAudioFormat(KxcAudioFormat* format, INT32 channels, UINT32 quality)
{
    return device() ? device()->setAudioFormat(format, channels, quality) : KxcAudioFormat();
}
KxcAudioFormat KxcAudio::getAudioFormat() { return device() ? device()->getAudioFormat() : KxcAudioFormat(); }
KxcAudioFormat KxcAudio::getRecommendedAudioFormat()
{
    return device() ? device()->getRecommendedAudioFormat() : KxcAudioFormat();
}
INT32 KxcAudio::openAudio() { return device() ? device()->openAudio() : 0; }
INT32 KxcAudio::closeAudio() { return device() ? device()->closeAudio() : 0; }
INT32 KxcAudio::getPrimaryData(KxcAudioBuffer* buffer, INT32 offset, INT32 count)
{
    return device() ? device()->getPrimaryData(buffer, offset, count) : 0;
}
