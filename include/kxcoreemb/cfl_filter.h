// cfl_filter.h - the filters between an archive entry's bytes and what is stored of them.
//
// A filter word names an entry's filters: bits 0-15 the compression, bits 16-23 the preprocessor, bits 24-31 the
// cipher. A filter's id is its part of the word, in place: 0x00000001, 0x00010000, 0x01000000. Writing runs
// preprocessor, compression, cipher; reading the reverse.
#pragma once

#include <kxcoreemb/base.h>

class KxcCFLResource;

/// Receives the registered filters from KxcCFLResourceFilter::enumerateHandlers.
class KXC_API KxcCFLEnumerator
{
public:
    /// Called for each filter, newest first, with its id and what it says of itself.
    virtual void handlerFound(KxcUINT32 id, const char* infoString, const char* shortName) = 0;

protected:
    ~KxcCFLEnumerator() = default;
};

/// A filter; constructing one with new registers it. A game derives its own ciphers, preprocessors and compressors.
///
/// Ownership  the core owns a filter that was registered, and deletes it when the core goes.
/// Failure    a step that gives no bytes has failed, and so has a word that names a filter which is not registered.
///            Without a core nothing is registered: constructing a filter leaves it the caller's.
/// Threads    the frame thread only.
class KXC_API KxcCFLResourceFilter
{
public:
    /// The writing direction. @param out  receives a new[] buffer, or null on failure; the input stays the caller's
    virtual void process(KxcINT8* in, KxcINT8** out, KxcUINT32 inLength, KxcUINT32& outLength) = 0;
    /// The reading direction, likewise.
    /// @param outLength  holds the length that the result must have, where it is known, else 0: a filter whose input
    ///                   tells another one may save itself the work
    virtual void reverseProcess(KxcINT8* in, KxcINT8** out, KxcUINT32 inLength, KxcUINT32& outLength) = 0;

protected: // for derived classes
    /// Receives a key, in a form of the cipher's own; the base ignores it.
    virtual void setCipherKey(void* key);

public:
    virtual ~KxcCFLResourceFilter();

    /// Compression 0xFFFF stands for the registered compressor (an id up to 0xFFFE) that gives the fewest bytes.
    /// @param filterWord  receives the compression that was chosen  @return null on failure
    static KxcCFLResource* handle(const KxcINT8* data, KxcUINT32 length, KxcUINT32& filterWord);
    /// Runs the filters of a word in reverse: cipher, compression, preprocessor.
    /// @param length  the bytes that are expected, or 0 when any number will do; receives how many were decoded
    /// @return a new[] buffer; null on failure, and when another number came out than expected
    static KxcINT8* unhandle(const KxcCFLResource* resource, KxcUINT32 filterWord, KxcUINT32& length);
    /// The same for a length that nobody knows.
    static KxcINT8* unhandle(const KxcCFLResource* resource, KxcUINT32 filterWord);

    static const char* handlerShortName(KxcUINT32 id);  ///< "best" for 0xFFFF, "Unknown" for an id that nobody has
    static const char* handlerInfoString(KxcUINT32 id); ///< likewise
    static void enumerateHandlers(KxcCFLEnumerator* enumerator); ///< newest first
    static void enableHandler(KxcUINT32 id, KxcINT32 isEnabled); ///< a mark for tools: nothing here heeds it
    static void setKey(KxcUINT32 id, void* key);                 ///< hands a key to the cipher with this id

    KxcCFLResourceFilter(const KxcCFLResourceFilter&) = delete;
    KxcCFLResourceFilter& operator=(const KxcCFLResourceFilter&) = delete;

protected: // for derived classes
    friend void kxcCFLFiltersFree();
    /// A filter that is registered by the last line of the derived constructor.
    /// @param filterId  where a filter word names it: see above
    /// @param info, name  one line and one word on the filter; not copied
    KxcCFLResourceFilter(KxcUINT32 filterId, const char* info, const char* name);
    static void registerHandler(KxcCFLResourceFilter* filter); ///< called last by every filter's constructor
    static KxcCFLResourceFilter* findHandler(KxcUINT32 id);    ///< the newest with that id

    const char* infoString;     ///< one line on the filter
    const char* shortName;      ///< one word
    KxcINT32 enabled;           ///< 1, or what enableHandler() stored
    KxcUINT32 id;               ///< where a filter word names it
    KxcCFLResourceFilter* next; ///< registered before it
};

/// Id 0, registered by the core: the bytes as they are.
class KXC_API KxcCFLFilterNone : public KxcCFLResourceFilter
{
public:
    KxcCFLFilterNone();
    void process(KxcINT8* in, KxcINT8** out, KxcUINT32 inLength, KxcUINT32& outLength) override;
    void reverseProcess(KxcINT8* in, KxcINT8** out, KxcUINT32 inLength, KxcUINT32& outLength) override;
};

/// Id 1: the decoded length in 32 bits, little-endian, and a zlib stream.
class KXC_API KxcCFLFilterZlib : public KxcCFLResourceFilter
{
public:
    KxcCFLFilterZlib();
    void process(KxcINT8* in, KxcINT8** out, KxcUINT32 inLength, KxcUINT32& outLength) override;
    void reverseProcess(KxcINT8* in, KxcINT8** out, KxcUINT32 inLength, KxcUINT32& outLength) override;
};

/// Registers a KxcCFLFilterZlib. Called from a game's init function, or by kxcUseDefaults.
KXC_API void kxcUseCFLFilterZlib();
