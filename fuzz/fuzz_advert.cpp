// fuzz_advert.cpp - reads an advertisement that is anything at all, and writes into it.
#include "fuzz.h"

#include <cstring>
#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const UINT8* bytes, size_t size)
{
    std::unique_ptr<KxcInetAdvertiser> advertiser(
        KxcInetAdvertiser::create(reinterpret_cast<const char*>(bytes), static_cast<INT32>(size)));
    check((advertiser != nullptr) == (size < 512));
    if (!advertiser)
        return 0;
    char exact[257];
    for (int which = 0; which < 2; ++which)
    {
        const bool data = which == 1;
        INT32 length = sizeof(exact);
        data ? advertiser->getMessageData(exact, length) : advertiser->getMessageHeader(exact, length);
        check(length == 0 || (length == 2 + static_cast<UINT8>(exact[1]) && exact[0] == (data ? 4 : 2)));
    }
    advertiser->getGamePort();
    // What fits is there afterwards; what does not fit changes nothing.
    const INT32 valueLength = size > 0 ? bytes[0] : 0;
    const INT32 before = advertiser->getMessageLength();
    const INT32 after = advertiser->setMessageData(reinterpret_cast<const char*>(bytes),
                                                   valueLength <= static_cast<INT32>(size) ? valueLength : 0);
    check(after >= 0 && after < KxcAdvertiser::kBufferSize);
    check(advertiser->getMessageLength() == (after ? after : before));
    if (after)
    {
        INT32 length = sizeof(exact);
        advertiser->getMessageData(exact, length);
        check(length >= 2 && memcmp(exact + 2, bytes, static_cast<size_t>(length - 2)) == 0);
        advertiser->setGamePort(0x4321);
        check(advertiser->getGamePort() == 0x4321 || advertiser->getMessageLength() > 507);
    }
    return 0;
}
