// address.h - where a peer is: addresses, host names, and the resolver between the two.
#pragma once

#include <kxcoreemb/base.h>

/// Values of KxcAddress::getType().
enum KXCADDRESS : KxcINT32
{
    KXCADDRESS_INET = 3 ///< KxcInetAddress
};

/// Where a socket is, or is to be: a record of bytes that only its own kind understands.
///
/// Ownership  whoever made one deletes it.
/// Threads    one at a time.
class KXC_API KxcAddress
{
public:
    virtual ~KxcAddress();
    /// Copies the bytes over the beginning of the record. A size that the record cannot hold changes nothing.
    virtual void setAddress(void* data, KxcINT32 size) = 0;
    virtual const void* getAddress() const = 0;                 ///< the record, getAddressSize() bytes
    virtual void* getAddress() = 0;                             ///< the same, to be written to
    virtual KxcINT32 isSame(const KxcAddress& other) const = 0; ///< 1 when both name the same host; ports do not matter

    KxcINT32 getType() const { return type; }             ///< a KXCADDRESS_ value
    void setType(KxcINT32 value) { type = value; }        ///< tells a record of another kind
    KxcINT32 getAddressSize() const { return size; }      ///< of the record, in bytes
    void setAddressSize(KxcINT32 value) { size = value; } ///< likewise, of another size

protected:
    KxcAddress(KxcINT32 addressType, KxcINT32 addressSize) : type(addressType), size(addressSize) {}

    KxcINT32 type, size;
};

/// An IPv4 address and a port, as a record of 16 bytes: the family (2, in the host's byte order), the port and the
/// address (both in network byte order), eight zeros.
///
/// Threads    one at a time.
class KXC_API KxcInetAddress : public KxcAddress
{
public:
    static constexpr KxcINT32 kRecordSize = 16;         ///< bytes of the record
    static constexpr KxcUINT32 kNoAddress = 0xFFFFFFFF; ///< what inetAddress() answers; as an address, broadcast

    KxcInetAddress(); ///< any host, port 0
    /// A new address on the heap, which the caller deletes. @return null when memory runs out
    static KxcInetAddress* create();
    static KxcInetAddress* create(const KxcAddress& other); ///< copies the record of another IPv4 address

    void setAddress(void* data, KxcINT32 size) override; ///< copies up to 16 bytes
    const void* getAddress() const override { return record; }
    void* getAddress() override { return record; }
    KxcINT32 isSame(const KxcAddress& other) const override;
    /// Compares host and port.
    /// @return 1 when host and port are equal, else -1
    static KxcINT32 isSame(const KxcInetAddress& a, const KxcInetAddress& b);

    void setPort(KxcUINT16 port);     ///< in the host's byte order; 0 lets the system choose
    KxcUINT16 getPort() const;        ///< in the host's byte order
    void setHost(const char* dotted); ///< "10.0.0.1"; what is no address, and the broadcast address, changes nothing
    void setHost(KxcUINT32 networkOrder); ///< the address in network byte order
    KxcUINT32 getHost() const;            ///< in network byte order
    /// Writes the address as text, without a terminator.
    /// @param length  the buffer's; receives the text's. A text of exactly that length is not copied and answers 0; a
    ///                longer one is cut, and the length stays
    void getHost(char* buffer, KxcINT32& length) const;
    /// Four numbers from 0 to 255 with dots between them. @return in network byte order; kNoAddress for other text
    static KxcUINT32 inetAddress(const char* dotted);

private:
    alignas(4) KxcUINT8 record[kRecordSize];
};

/// A host's name of up to 64 characters.
class KXC_API KxcName
{
public:
    static constexpr KxcINT32 kMaxLength = 64; ///< characters, without the terminator

    KxcName() : text(), length(0) {}
    void setName(const char* name, KxcINT32 nameLength); ///< what is beyond 64 characters is cut off
    void setName(const char* name);                      ///< null-terminated; null stands for ""
    const char* getName() const { return text; }         ///< null-terminated
    KxcINT32 getLength() const { return length; }        ///< characters

private:
    char text[kMaxLength + 1];
    KxcINT32 length;
};

/// A host: an address and a name.
///
/// Ownership  whoever made one deletes it; address and name are its own.
/// Threads    one at a time.
class KXC_API KxcHostEntry
{
public:
    virtual ~KxcHostEntry();
    virtual KxcAddress* getAddress() = 0;                   ///< the entry keeps it
    virtual KxcName* getName() = 0;                         ///< likewise
    virtual void setAddress(const KxcAddress& address) = 0; ///< copied; one of another kind changes nothing
    virtual void setName(const KxcName& name) = 0;          ///< copied
    /// The same, to be read.
    const KxcAddress* getAddress() const { return const_cast<KxcHostEntry*>(this)->getAddress(); }
    /// The same, to be read.
    const KxcName* getName() const { return const_cast<KxcHostEntry*>(this)->getName(); }

protected:
    KxcHostEntry() = default;
};

/// The entry of a host on the Internet.
class KXC_API KxcInetHostEntry : public KxcHostEntry
{
public:
    static KxcInetHostEntry* create(); ///< the caller deletes it; null when memory runs out
    using KxcHostEntry::getAddress;
    using KxcHostEntry::getName;
    KxcInetAddress* getAddress() override { return &address; }
    KxcName* getName() override { return &name; }
    void setAddress(const KxcAddress& newAddress) override; ///< an address of another kind changes nothing
    void setName(const KxcName& newName) override { name = newName; }

private:
    KxcInetAddress address;
    KxcName name;
};

/// Turns names into addresses and back. Every operation may wait for the network, for seconds.
///
/// Failure  1 stands for success and -1 for failure, which leaves the result as it was.
/// Threads  any.
class KXC_API KxcHostResolver
{
public:
    virtual ~KxcHostResolver();
    virtual KxcINT32 localAddress(KxcAddress& address) = 0; ///< this host's first address; the port stays
    virtual KxcINT32 localName(KxcName& name) = 0;          ///< this host's name, if that is known to the network
    virtual KxcINT32 remoteName(const KxcAddress& address, KxcHostEntry& entry) = 0; ///< the name that belongs to it
    virtual KxcINT32 remoteAddress(const KxcName& name, KxcHostEntry& entry) = 0;    ///< the address that belongs to it
    KxcINT32 getType() const { return type; }                                        ///< a connection type

protected:
    explicit KxcHostResolver(KxcINT32 resolverType) : type(resolverType) {}

    KxcINT32 type;
};

/// Turns names and IPv4 addresses into each other, by what the system knows and asks.
class KXC_API KxcInetHostResolver : public KxcHostResolver
{
public:
    static KxcInetHostResolver* create(); ///< the caller deletes it; null when memory runs out
    /// Finds a host's address; the port stays.
    /// @param text  a name, or an address in dotted form
    KxcINT32 getHostByString(const char* text, KxcInetAddress& address);
    KxcINT32 localAddress(KxcAddress& address) override;
    KxcINT32 localName(KxcName& name) override;
    KxcINT32 remoteName(const KxcAddress& address, KxcHostEntry& entry) override;
    KxcINT32 remoteAddress(const KxcName& name, KxcHostEntry& entry) override;

private:
    KxcInetHostResolver();
};
