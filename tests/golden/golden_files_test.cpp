// golden_files_test.cpp - numbers, mixes, archives and datagrams.
#include "audio/audio_support.h"
#include "core/desktop_picture.h"
#include "files/file_support.h"
#include "golden/golden.h"
#include "support/net.h"

TEST(GoldenNumbers, Scalars)
{
    Engine engine;
    const struct
    {
        const char* name;
        KxcFixed (*function)(KxcFixed);
        INT32 from, to; // raw
    } kFunctions[] = {{"sin", KxcMath::sin, INT32_MIN, INT32_MAX},   {"cos", KxcMath::cos, INT32_MIN, INT32_MAX},
                      {"tan", KxcMath::tan, INT32_MIN, INT32_MAX},   {"asin", KxcMath::asin, -0x10000, 0x10000},
                      {"acos", KxcMath::acos, -0x10000, 0x10000},    {"acosFast", KxcMath::acosFast, -0x10000, 0x10000},
                      {"atan", KxcMath::atan, INT32_MIN, INT32_MAX}, {"sqrt", KxcMath::sqrt, INT32_MIN, INT32_MAX},
                      {"exp", KxcMath::exp, -0x100000, 0x100000},    {"log", KxcMath::log, 0, INT32_MAX},
                      {"logFast", KxcMath::logFast, 0, INT32_MAX},   {"sqrtFast", KxcMath::sqrtFast, 0, INT32_MAX}};
    for (const auto& f : kFunctions)
    {
        Checksum sum;
        const INT64 step = (INT64{f.to} - f.from) / 40000 | 1;
        for (INT64 raw = f.from; raw <= f.to; raw += step)
            sum.add(f.function(KxcFixed::fromRaw(static_cast<INT32>(raw))));
        expectGolden(f.name, sum);
    }
    Noise noise;
    Checksum pairs;
    for (INT32 i = 0; i < 20000; ++i)
    {
        const KxcFixed a = noise.fixed(-300, 300), b = noise.fixed(-9, 9);
        for (KxcFixed result : {KxcMath::atan2(a, b), KxcMath::pow(a, b), a * b, b == KxcFixed(0) ? a : a / b,
                                KxcMath::floor(a), KxcMath::ceil(b)})
            pairs.add(result);
    }
    expectGolden("atan2, pow and arithmetic", pairs);
}

TEST(GoldenNumbers, MatricesAndQuaternions)
{
    Engine engine;
    Noise noise;
    Checksum sum;
    KxcMatrix4 m, projection;
    KxcQuaternion q, turned;
    KxcMath::matrixIdentity(m);
    KxcMath::quaternionIdentity(q);
    KxcMath::matrixToProjection(projection, 3, 4, KxcFixed(1), KxcFixed(1), 100);
    for (INT32 i = 0; i < 2000; ++i)
    {
        const KxcVector3 v = {noise.fixed(-9, 9), noise.fixed(-9, 9), noise.fixed(-9, 9)};
        KxcVector3 out;
        KxcMath::matrixRotateX(KxcMath::matrixRotateY(KxcMath::matrixRotateZ(m, v.x), v.y), v.z);
        KxcMath::matrixNormalize(m);
        KxcMath::quaternionRotateVector(q, v, v.y);
        KxcMath::quaternionSlerp(q, KxcMath::quaternionRotationXYZ(turned, v.x, v.y, v.z), KxcFixed::fromRaw(i * 32),
                                 turned);
        KxcMatrix4 product, inverse = KxcMath::matrixTranslate(m, v), viewed;
        KxcMath::matrixInverse(inverse);
        KxcMath::matrixMultiply(m, projection, product);
        KxcMath::matrixLookAt(viewed, v, {1, 2, 3}, {0, 1, 0});
        for (const KxcMatrix4* matrix : {&m, &product, &inverse, &KxcMath::matrixInverseFast(viewed)})
            sum.add(&matrix->m[0][0], 16);
        KxcMath::quaternionTransform(q, KxcMath::matrixTransform(m, v, out), out);
        for (KxcFixed f : {q.x, q.y, q.z, q.w, turned.x, turned.y, turned.z, turned.w, out.x, out.y, out.z})
            sum.add(f);
        if (i % 16 == 0)
            KxcMath::matrixFromQuaternion(m, turned), KxcMath::quaternionFromMatrix(q, m);
    }
    expectGolden("matrices and quaternions", sum);
}

TEST(GoldenMixes, EveryLayoutResampledPannedAndLooped)
{
    for (UINT32 output = 0; output < 0x800; output += 0x200) // 8 or 16 bits, mono or stereo
        for (UINT32 quality : {0u, 1u})
        {
            Engine engine;
            kxcUseAudioDefault();
            KxcAudioFormat format(44100, output, 7);
            KxcAudio::setAudioFormat(&format, 24, quality);
            Noise noise;
            std::vector<Sound> sounds;
            for (UINT32 layout = 0; layout < 0x1000; layout += 0x200)
                for (FLOAT32 rate : {8000.0f, 32000.0f, 44100.0f})
                {
                    const INT32 samples = noise.between(2000, 9000);
                    const UINT32 loop = noise.below(2) ? UINT32{KXCAUDIO_LOOP} : 0;
                    const KxcFixed volume = noise.fixed(0, 2);
                    Sound sound(KxcAudioBuffer::create(rate, layout | loop, samples, volume,
                                                       KxcFixed::fromRaw(noise.below(0x10001))));
                    UINT8* memory = static_cast<UINT8*>(KxcAudio::lock(sound.get()));
                    const INT32 numbers = samples * (layout & KXCAUDIO_STEREO ? 2 : 1);
                    for (INT32 i = 0; i < numbers * (layout & KXCAUDIO_16BIT ? 2 : 1); ++i)
                        memory[i] = static_cast<UINT8>(noise.next());
                    KxcAudio::unlock(sound.get());
                    KxcAudio::setLoopOffsets(sound.get(), samples / 3, samples - 100);
                    KxcAudio::setVolume(KxcAudio::play(sound.get()), noise.fixed(0, 1));
                    sounds.push_back(std::move(sound));
                }
            Checksum sum;
            std::vector<UINT8> played(8192);
            for (INT32 i = 0; i < 8; ++i)
            {
                sum.add(played.data(), static_cast<size_t>(embeddedSoundFrame(played.data())));
                KxcAudio::setMasterVolume(KxcFixed::fromRaw(0x10000 - i * 0x1000));
            }
            expectGolden("mix to layout " + std::to_string(output >> 9) + ", quality " + std::to_string(quality), sum);
        }
}

using GoldenArchives = Files;

TEST_F(GoldenArchives, AreTheSameBytesAndZlibsTheSameContents)
{
    kxcUseCFLFilterZlib(); // what it makes of bytes depends on its version; what they say does not
    for (UINT32 word : {0u, 1u})
    {
        Noise noise;
        const std::string name = "golden" + std::to_string(word) + ".cfl";
        KxcCFLMaker* maker = KxcCFLMaker::create(name.c_str());
        for (INT32 entry = 0; entry < 60; ++entry)
        {
            std::vector<INT8> bytes(static_cast<size_t>(entry * entry * 3));
            for (INT8& byte : bytes)
                byte = static_cast<INT8>(noise.below(entry + 2));
            maker->store(("folder\\Entry " + std::to_string(entry % 50)).c_str(), bytes.data(),
                         static_cast<INT32>(bytes.size()), word);
        }
        ASSERT_EQ(maker->finish(word), 1);
        Checksum sum;
        if (word == 0)
        {
            const std::string archive = onDisk(name);
            sum.add(archive.data(), archive.size());
            expectGolden("archive", sum);
        }
        ASSERT_EQ(KxcCore::openCFL(name.c_str()), 1);
        Checksum contents;
        for (INT32 entry = 0; entry < 50; ++entry)
        {
            const std::string text = content(("FOLDER/entry " + std::to_string(entry)).c_str(), KXCFILE_CFL_ONLY);
            contents.add(static_cast<UINT32>(text.size()));
            contents.add(text.data(), text.size());
        }
        expectGolden("archived contents, filter " + std::to_string(word), contents);
    }
}

TEST_F(GoldenArchives, AndScreenshotsAreTheSameBytes)
{
    Noise noise;
    std::vector<UINT16> pixels(21 * 13);
    for (UINT16& pixel : pixels)
        pixel = static_cast<UINT16>(noise.next());
    const std::filesystem::path home = std::filesystem::current_path();
    std::filesystem::current_path(root);
    kxcDesktopSaveScreenshot(pixels.data(), 21, 13);
    std::filesystem::current_path(home);
    const std::string picture = onDisk("ss0001.bmp");
    ASSERT_FALSE(picture.empty());
    Checksum sum;
    sum.add(picture.data(), picture.size());
    expectGolden("screenshot", sum);
}

TEST(GoldenDatagrams, OfAClientThatNobodyAnswersAndOfTwoOnABadLink)
{
    DrivenClock clock;
    Engine engine;
    Noise noise;
    Checksum sent;
    const std::unique_ptr<KxcObjectPacketBase> packet(KxcObjectPacketBase::create(1400));
    const std::unique_ptr<KxcInetClientWin> client(KxcInetClientWin::create(40, 300));
    client->changePacketCreator(KXCCREATOR_MANY);
    for (INT32 run = 0; run < 300; ++run, clock.advance(10))
    {
        const std::string message(static_cast<size_t>(noise.below(200)), static_cast<char>('a' + run % 26));
        if (KxcObjectDataFrame* frame =
                run % 3 ? client->getPacketFrame(run % KXCSLOT_NONE) : client->getRecentStateFrame(run % 7))
            SimulatedLink::write(frame, message.data(), static_cast<INT32>(message.size()));
        packet->reset();
        if (client->outgoing(*packet) > 0)
            sent.add(packet->getBuffer(), static_cast<size_t>(packet->getTotalLength()));
    }
    expectGolden("datagrams", sent);

    Checksum heard;
    LinkConditions conditions;
    conditions.delayMs = 30, conditions.jitterMs = 20, conditions.loss = 0.25, conditions.reorder = 0.25;
    SimulatedLink link(conditions, 40, 200);
    link.received = [&](int end, const char* data, INT32 length)
    {
        heard.add(end), heard.add(DrivenClock::nowMs());
        heard.add(data, static_cast<size_t>(length));
    };
    for (INT32 run = 0; run < 2000; ++run, clock.advance(5))
    {
        const std::string message = std::to_string(run);
        if (run < 1500 && run % 4 == 0)
            link.send(run / 4 % 2, message.data(), static_cast<INT32>(message.size()));
        link.runBoth();
    }
    heard.add(link.datagrams), heard.add(link.bytes);
    expectGolden("a conversation", heard);
}
