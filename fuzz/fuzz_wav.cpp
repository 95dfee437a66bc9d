// fuzz_wav.cpp - reads a sound that is anything at all with examples/player.
#include "fuzz.h"
#include "wav_file.h"

#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const UINT8* bytes, size_t size)
{
    WavFile wav;
    std::string error;
    if (!wav.open(openInput("input", bytes, size), error))
        check(!error.empty());
    else
    {
        const INT32 sampleBytes = wav.bytesPerSample(), samples = wav.format().samples;
        check(sampleBytes >= 1 && sampleBytes <= 4 && samples >= 0);
        check(static_cast<size_t>(samples) * static_cast<size_t>(sampleBytes) <= size); // a file holds what it promises
        std::vector<UINT8> block(static_cast<size_t>(100 * sampleBytes));
        for (int round = 0; round < 2; ++round, wav.rewind())
        {
            INT32 read = 0;
            while (const INT32 got = wav.read(block.data(), 100))
                read += got;
            check(read == samples);
        }
    }
    return 0;
}
