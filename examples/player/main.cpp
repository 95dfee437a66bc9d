// main.cpp - player: plays WAV files, one after the other, in a window or into a file of raw samples.
//
// Short files are loaded into a KxcAudioBuffer, long ones play through a WavStream that reads ahead.
#include "raw_name.h"
#include "wav_stream.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr INT32 kWidth = 320, kHeight = 120;
constexpr INT32 kLongestBuffer = 1 << 18; // bytes of samples; what is longer is streamed
constexpr INT32 kOutputBytes = 8192;      // of a hardware buffer

constexpr char kUsage[] =
    "usage: player [--volume V] [--pan P] [--speed S] [--loop] [--seconds N] [--archive FILE.cfl]\n"
    "              [--out FILE.raw] FILE.wav...\n"
    "\n"
    "Plays WAV files: PCM with 8 or 16 bits, mono or stereo, any rate. Up and down change the volume, left\n"
    "and right the panning, + and - the speed; L loops, Space pauses, N takes the next file, Escape ends.\n"
    "  --volume V         1.0 as it is, 0 and up\n"
    "  --pan P            of mono files: 0 left, 0.5 middle, 1.0 right\n"
    "  --speed S          1.0 as it is, 2.0 an octave higher\n"
    "  --seconds N        end after that time\n"
    "  --archive FILE.cfl looks for the files in a resource archive first\n"
    "  --out FILE.raw     write 16-bit stereo samples at 32000 Hz instead of playing\n";

struct Options
{
    std::vector<std::string> files;
    std::string out, archive;
    double volume = 1, panning = 0.5, speed = 1, seconds = 1e9;
    bool loop = false;
};
Options g_options;
INT32 g_failures; // files that could not be played

enum : INT32 // virtual-key codes
{
    KEY_ESCAPE = 27,
    KEY_SPACE = 32,
    KEY_LEFT = 37,
    KEY_UP = 38,
    KEY_RIGHT = 39,
    KEY_DOWN = 40,
    KEY_PLUS = 187,
    KEY_MINUS = 189
};

/// The file that is playing, as a buffer or as a stream.
class Track
{
public:
    /// @return false, with the reason on stderr
    bool play(const std::string& path);
    void readAhead()
    {
        if (m_stream)
            m_stream->readAhead();
    }
    bool ended() const { return m_stream ? m_stream->ended() : !m_paused && !KxcAudio::isPlaying(m_id); }
    INT32 position() const { return m_stream ? m_stream->position() : std::max(KxcAudio::getPlayhead(m_id), 0); }
    const KxcAudioFormat& format() const { return m_format; }
    bool paused() const { return m_paused; }
    void togglePause()
    {
        m_paused = !m_paused;
        m_paused ? KxcAudio::pause(m_id) : KxcAudio::resume(m_id);
    }
    void set(KxcFixed volume, KxcFixed panning, double speed, bool loop)
    {
        KxcAudio::setVolume(m_id, volume);
        KxcAudio::setPanning(m_id, panning);
        KxcAudio::setSamplingRate(m_id, static_cast<FLOAT32>(m_format.samplingRate * speed));
        if (m_stream)
            m_stream->setLooping(loop);
        else
            KxcAudio::setLooping(m_id, loop);
    }

private:
    std::unique_ptr<KxcAudioBuffer> m_buffer; // one of these two
    std::unique_ptr<WavStream> m_stream;
    KxcAudioFormat m_format;
    UINT32 m_id = 0;
    bool m_paused = false;
};

bool Track::play(const std::string& path)
{
    std::string error;
    WavFile file;
    const bool inArchive = !g_options.archive.empty() && (KxcFile::fileExists(path.c_str()) & 1);
    if (!file.open(inArchive ? path : rawName(path), error))
    {
        std::fprintf(stderr, "%s: %s\n", path.c_str(), error.c_str());
        return false;
    }
    m_format = file.format();
    const INT64 bytes = static_cast<INT64>(m_format.samples) * file.bytesPerSample();
    std::printf("%s: %d Hz, %d bits, %s, %.2f s, %s\n", path.c_str(), static_cast<INT32>(m_format.samplingRate),
                m_format.bytesPerSample * 8, m_format.channels == 2 ? "stereo" : "mono",
                m_format.samples / static_cast<double>(m_format.samplingRate),
                bytes > kLongestBuffer ? "streamed" : "in memory");
    if (bytes > kLongestBuffer)
        m_stream = WavStream::create(std::move(file), 1, KxcFixed(0.5));
    else
        m_buffer.reset(KxcAudioBuffer::create(m_format, 1));
    if (m_buffer && m_format.samples > 0)
    {
        file.read(KxcAudio::lock(m_buffer.get()), m_format.samples);
        KxcAudio::unlock(m_buffer.get());
    }
    m_id = m_stream ? KxcAudio::play(m_stream.get()) : KxcAudio::play(m_buffer.get());
    if (m_id == 0)
        std::fprintf(stderr, "%s: memory is short\n", path.c_str());
    return m_id != 0;
}

class Player : public KxcApp, public KxcRenderer, public KxcInput
{
public:
    Player()
        : m_gl(KxcGL::create(0, 0)),
          m_heard(KxcAudioBuffer::create(KxcAudio::getRecommendedAudioFormat(), 1)),
          m_volume(g_options.volume),
          m_panning(g_options.panning),
          m_speed(g_options.speed),
          m_loop(g_options.loop)
    {
        KxcAudio::setAudioFormat(nullptr, 4, 1);
        KxcCore::setRenderer(this);
        KxcCore::setController(this);
    }
    /// Goes on to the next file when one ended. @return false after the last one
    bool advance();
    void onTick() override
    {
        KxcCore::sleep(10);
        if (!advance() || KxcCore::getTick() > g_options.seconds * 1000)
            KxcCore::quit();
    }
    void render() override;
    void onKeyDown(INT32 code) override;

private:
    void next();
    void apply() { m_track->set(m_volume, m_panning, m_speed, m_loop); }
    void bar(INT32 y, INT32 height, KxcFixed part, UINT32 color);
    KxcFixed level(size_t channel) const;

    std::unique_ptr<KxcGL> m_gl;
    std::unique_ptr<KxcAudioBuffer> m_heard; // what was mixed last, for the meter
    std::unique_ptr<Track> m_track;
    size_t m_next = 0;
    KxcFixed m_volume, m_panning;
    double m_speed;
    bool m_loop;
};

void Player::next()
{
    m_track.reset();
    while (!m_track && m_next < g_options.files.size())
    {
        m_track.reset(new Track);
        if (!m_track->play(g_options.files[m_next++]))
        {
            m_track.reset();
            ++g_failures;
        }
    }
    if (m_track)
        apply();
}

bool Player::advance()
{
    if (!m_track || m_track->ended())
        next();
    if (m_track)
        m_track->readAhead();
    return m_track != nullptr;
}

void Player::onKeyDown(INT32 code)
{
    const KxcFixed step(0.0625);
    switch (code)
    {
    case KEY_ESCAPE:
        KxcCore::quit();
    case KEY_UP:
        m_volume += step;
        break;
    case KEY_DOWN:
        m_volume = m_volume > step ? m_volume - step : KxcFixed(0);
        break;
    case KEY_LEFT:
        m_panning = m_panning > step ? m_panning - step : KxcFixed(0);
        break;
    case KEY_RIGHT:
        m_panning = std::min(m_panning + step, KxcFixed(1));
        break;
    case KEY_PLUS:
        m_speed = std::min(m_speed * 1.0595, 8.0); // a semitone
        break;
    case KEY_MINUS:
        m_speed = std::max(m_speed / 1.0595, 0.125);
        break;
    case 'L':
        m_loop = !m_loop;
        break;
    case KEY_SPACE:
        if (m_track)
            m_track->togglePause();
        break;
    case 'N':
        next();
        break;
    default:
        break;
    }
    if (m_track)
        apply();
}

/// The loudest number of what was mixed last, 0..1.0.
KxcFixed Player::level(size_t channel) const
{
    const INT32 samples = KxcAudio::getSamples(m_heard.get());
    if (!KxcAudio::getPrimaryData(m_heard.get(), 0, samples))
        return 0;
    const INT16* numbers = static_cast<INT16*>(KxcAudio::lock(m_heard.get()));
    INT32 loudest = 0;
    for (INT32 i = 0; i < samples; ++i)
        loudest = std::max(loudest, std::abs(static_cast<INT32>(numbers[static_cast<size_t>(i) * 2 + channel])));
    KxcAudio::unlock(m_heard.get());
    return KxcFixed::fromRaw(loudest * 2);
}

void Player::bar(INT32 y, INT32 height, KxcFixed part, UINT32 color)
{
    constexpr INT32 kMargin = 10, kLength = kWidth - 2 * kMargin;
    KxcGLSurface* screen = m_gl->getSecondary();
    screen->drawFilledRect(kMargin, y, kLength, height, 0xFF303848);
    screen->drawFilledRect(kMargin, y, static_cast<INT32>(std::min(part, KxcFixed(1)) * kLength), height, color);
}

void Player::render()
{
    m_gl->getSecondary()->clear(0xFF182028);
    bar(10, 16, level(0), 0xFF50D070);
    bar(28, 16, level(1), 0xFF50D070);
    const INT32 samples = m_track ? std::max(m_track->format().samples, 1) : 1;
    const INT64 position = m_track ? m_track->position() : 0;
    const bool rests = !m_track || m_track->paused();
    bar(54, 10, KxcFixed::fromRaw(static_cast<INT32>(position * 65536 / samples)),
        rests    ? 0xFF808080
        : m_loop ? 0xFFF0C040
                 : 0xFF40A0F0);
    bar(78, 6, m_volume / 2, 0xFFE0E0E0); // full at 2.0
    bar(90, 6, m_panning, 0xFFC080E0);
    bar(102, 6, KxcFixed(m_speed / 2), 0xFFE08060);
}

Player* g_player;

long makePlayer()
{
    kxcUseDefaults();
    if (!g_options.archive.empty() && !KxcCore::openCFL(rawName(g_options.archive).c_str()))
        std::fprintf(stderr, "%s: is no resource archive, or is damaged\n", g_options.archive.c_str());
    g_player = new Player;
    return 0;
}

void setPreferences(KxcAppPrefs& prefs) { prefs.title = "player"; }

/// Renders all files without a device.
int render(const std::string& path)
{
    const std::unique_ptr<FILE, int (*)(FILE*)> out(std::fopen(path.c_str(), "wb"), std::fclose);
    if (!out)
    {
        std::fprintf(stderr, "%s: cannot be written\n", path.c_str());
        return 1;
    }
    embeddedInit(kWidth, kHeight, makePlayer, setPreferences, nullptr);
    UINT8 samples[kOutputBytes];
    double seconds = 0;
    bool written = true;
    // What ended is still on its way through the two hardware buffers and the mixer's own.
    for (INT32 rest = 3; rest > 0 && written; seconds += 2048 / 32000.0)
    {
        if (!g_player->advance() || seconds >= g_options.seconds)
            --rest;
        const size_t bytes = static_cast<size_t>(embeddedSoundFrame(samples));
        written = std::fwrite(samples, 1, bytes, out.get()) == bytes;
    }
    embeddedDeinit();
    if (!written)
        std::fprintf(stderr, "%s: the disk is full\n", path.c_str());
    return !written || g_failures > 0;
}

bool parse(int count, char** arguments)
{
    for (int i = 1; i < count; ++i)
    {
        const std::string argument = arguments[i];
        const auto value = [&] { return i + 1 < count ? arguments[++i] : ""; };
        if (argument == "--volume")
            g_options.volume = std::clamp(std::atof(value()), 0.0, 1000.0);
        else if (argument == "--pan")
            g_options.panning = std::clamp(std::atof(value()), 0.0, 1.0);
        else if (argument == "--speed")
            g_options.speed = std::clamp(std::atof(value()), 0.0, 8.0);
        else if (argument == "--seconds")
            g_options.seconds = std::atof(value());
        else if (argument == "--archive")
            g_options.archive = value();
        else if (argument == "--out")
            g_options.out = value();
        else if (argument == "--loop")
            g_options.loop = true;
        else if (argument.compare(0, 2, "--") == 0)
            return false;
        else
            g_options.files.push_back(argument);
    }
    return !g_options.files.empty();
}

} // namespace

int main(int count, char** arguments)
{
    if (!parse(count, arguments))
    {
        std::fputs(kUsage, stderr);
        return 2;
    }
    if (!g_options.out.empty())
        return render(g_options.out);
    return realWinMain(kWidth, kHeight, nullptr, 1, makePlayer, setPreferences, nullptr);
}
