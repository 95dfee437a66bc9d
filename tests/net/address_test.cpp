// address_test.cpp - addresses, names, sockets of datagrams, and the advertisement's list of elements.
#include "net/raw_peer.h"

namespace
{

const std::string bytesOf(const KxcAddress& address)
{
    return std::string(static_cast<const char*>(address.getAddress()), static_cast<size_t>(address.getAddressSize()));
}

} // namespace

TEST(InetAddress, KeepsPortAndHostInNetworkOrder)
{
    KxcInetAddress address;
    EXPECT_EQ(bytesOf(address), std::string("\2\0", 2) + std::string(14, '\0'));
    address.setPort(8080);
    address.setHost("10.0.0.1");
    EXPECT_EQ(bytesOf(address), std::string("\2\0\x1F\x90\x0A\0\0\1", 8) + std::string(8, '\0'));
    EXPECT_EQ(address.getPort(), 8080);
    for (const char* text : {"no.such", "255.255.255.255", "1.2.3", "1.2.3.256", "1.2.3.4.5", "1.2.3.4 ", "", "1..2.3"})
    {
        address.setHost(text);
        EXPECT_EQ(bytesOf(address).substr(4, 4), std::string("\x0A\0\0\1", 4)) << text;
        EXPECT_EQ(KxcInetAddress::inetAddress(text), 0xFFFFFFFFu) << text;
    }
    EXPECT_EQ(KxcInetAddress::inetAddress(nullptr), 0xFFFFFFFFu);
    address.setHost(0xFFFFFFFFu);
    EXPECT_EQ(bytesOf(address).substr(4, 4), "\xFF\xFF\xFF\xFF");
    char few[3] = {1, 2, 3};
    address.setAddress(few, 17);
    address.setAddress(few, -1);
    address.setAddress(few, 3);
    EXPECT_EQ(bytesOf(address).substr(0, 5), std::string("\1\2\3\x90\xFF", 5));
}

TEST(InetAddress, WritesItselfIntoWhatRoomThereIs)
{
    KxcInetAddress address;
    address.setHost("10.0.0.1");
    struct Case
    {
        INT32 room, length;
        const char* text;
    };
    for (const Case& c : {Case{20, 8, "10.0.0.1####"}, Case{9, 8, "10.0.0.1####"}, Case{8, 0, "############"},
                          Case{4, 4, "10.0########"}, Case{0, 0, "############"}, Case{-5, -5, "############"}})
    {
        char buffer[] = "############";
        INT32 length = c.room;
        address.getHost(buffer, length);
        EXPECT_EQ(length, c.length) << c.room;
        EXPECT_STREQ(buffer, c.text) << c.room;
    }
    address.setHost("192.168.100.203");
    char buffer[20];
    INT32 length = sizeof(buffer);
    address.getHost(buffer, length);
    EXPECT_EQ(std::string(buffer, 15), "192.168.100.203");
}

TEST(InetAddress, IsTheSameByHostOrByHostAndPort)
{
    KxcInetAddress a, b;
    a.setHost("10.0.0.1");
    a.setPort(5000);
    std::unique_ptr<KxcInetAddress> copy(KxcInetAddress::create(a));
    EXPECT_EQ(KxcInetAddress::isSame(a, *copy), 1);
    b = a;
    b.setPort(5001);
    EXPECT_EQ(KxcInetAddress::isSame(a, b), -1);
    EXPECT_EQ(a.isSame(b), 1);
    b.setHost("10.0.0.2");
    EXPECT_EQ(a.isSame(b), 0);
}

TEST(HostResolver, FindsThisMachineAndRefusesWhatIsNotThere)
{
    std::unique_ptr<KxcInetHostResolver> resolver(KxcInetHostResolver::create());
    KxcInetAddress address;
    address.setPort(77);
    EXPECT_EQ(resolver->getHostByString("localhost", address), 1);
    EXPECT_EQ(bytesOf(address).substr(2, 6), std::string("\0\x4D\x7F\0\0\1", 6)) << "the port stays";
    EXPECT_EQ(resolver->getHostByString("10.1.2.3", address), 1);
    EXPECT_EQ(bytesOf(address).substr(4, 4), "\x0A\1\2\3");
    EXPECT_EQ(resolver->getHostByString("", address), -1);
    EXPECT_EQ(resolver->getHostByString(nullptr, address), -1);
    std::unique_ptr<KxcInetHostEntry> entry(KxcInetHostEntry::create());
    KxcName name;
    name.setName("localhost");
    EXPECT_EQ(resolver->remoteAddress(name, *entry), 1);
    EXPECT_EQ(entry->getAddress()->getHost(), KxcInetAddress::inetAddress("127.0.0.1"));
    EXPECT_STREQ(entry->getName()->getName(), "localhost");
    name.setName(std::string(100, 'n').c_str());
    EXPECT_EQ(name.getLength(), 64);
    EXPECT_EQ(resolver->localAddress(address), resolver->localName(name)) << "both need the host to know itself";
}

TEST(Sockets, TranslateIndexesAndRefuseOthers)
{
    RawPeer peer, other;
    UINT32 one = 1, waiting = 0;
    INT32 value = 0, length = sizeof(value);
    EXPECT_EQ(peer.socket->ioctl(21, &one), -1);
    EXPECT_EQ(peer.socket->ioctl(-1, &one), -1);
    EXPECT_EQ(peer.socket->ioctl(KXCSOCKET_READABLE, nullptr), -1);
    EXPECT_EQ(peer.socket->getOption(KXCSOCKET_LEVELSOCKET, KXCSOCKET_BROADCAST, &value, &length), 0);
    EXPECT_EQ(value, 0);
    value = 1;
    EXPECT_EQ(peer.socket->setOption(KXCSOCKET_LEVELSOCKET, 20, &value, sizeof(value)), 0);
    value = 0;
    EXPECT_EQ(peer.socket->getOption(KXCSOCKET_LEVELSOCKET, KXCSOCKET_BROADCAST, &value, &length), 0);
    EXPECT_NE(value, 0) << "both indexes of the option are one";
    EXPECT_EQ(peer.socket->setOption(KXCSOCKET_LEVELSOCKET, 99, &value, sizeof(value)), -1);
    other.send("seven b", peer.address);
    for (int i = 0; i < 1000 && waiting == 0; ++i, kxcPlatformSleep(1))
        EXPECT_EQ(peer.socket->ioctl(KXCSOCKET_READABLE, &waiting), 0);
    EXPECT_EQ(waiting, 7u);
    EXPECT_EQ(peer.receive(), "seven b");
    char bytes[10];
    EXPECT_EQ(peer.socket->recvFrom(bytes, 10, 0, other.address), -1) << "nothing waits";
    EXPECT_EQ(peer.socket->recvFrom(bytes, -1, 0, other.address), -1);
    EXPECT_EQ(peer.socket->getRemoteAddr(other.address), -1);
    EXPECT_EQ(peer.socket->open(99, 99, 99), -1);
    EXPECT_EQ(peer.socket->getHandle(), reinterpret_cast<void*>(-1)) << "opening closes the former one";
}

TEST(InetAdvertiser, KeepsItsElementsSortedWhateverTheOrderTheyCome)
{
    for (int order = 0; order < 6; ++order)
    {
        std::unique_ptr<KxcInetAdvertiser> advertiser(KxcInetAdvertiser::create("\0\1z\1\0\7", 5)); // type 0 and 1
        for (int step = 0; step < 3; ++step)
            switch ((order + step * (order < 3 ? 1 : 2)) % 3)
            {
            case 0:
                EXPECT_GT(advertiser->setMessageHeader("KX", 2), 0);
                break;
            case 1:
                advertiser->setGamePort(0x1234);
                break;
            default:
                EXPECT_GT(advertiser->setMessageData("abc", 3), 0);
            }
        advertiser->setGamePort(0x1235); // in the place of the first
        EXPECT_EQ(std::string(advertiser->getMessage(), static_cast<size_t>(advertiser->getMessageLength())),
                  std::string("\0\1z\1\0\2\2KX\3\2\x35\x12\4\3abc", 18));
        EXPECT_EQ(advertiser->getGamePort(), 0x1235);
        EXPECT_EQ(advertiser->isAddress(), 0);
        EXPECT_EQ(advertiser->getType(), 1);
    }
}

TEST(InetAdvertiser, RefusesWhatDoesNotFitAndChangesNothing)
{
    const std::string longest(253, 'v');
    std::unique_ptr<KxcInetAdvertiser> advertiser(KxcInetAdvertiser::create());
    EXPECT_EQ(advertiser->setMessageHeader(longest.c_str(), 254), 0);
    EXPECT_EQ(advertiser->setMessageHeader(longest.c_str(), -1), 0);
    EXPECT_EQ(advertiser->setMessageHeader(longest.c_str(), 253), 255);
    EXPECT_EQ(advertiser->setMessageData(longest.c_str(), 253), 510);
    advertiser->setGamePort(1);
    EXPECT_EQ(advertiser->getGamePort(), 0) << "511 bytes are all there is";
    EXPECT_EQ(advertiser->setMessageData(longest.c_str(), 252), 509);
    EXPECT_EQ(advertiser->setMessageData(longest.c_str(), 249), 506);
    advertiser->setGamePort(1);
    EXPECT_EQ(advertiser->getMessageLength(), 510);
    char buffer[256] = {};
    INT32 length = 254;
    advertiser->getMessageHeader(buffer, length);
    EXPECT_EQ(length, 0);
    length = 250;
    advertiser->getMessageData(buffer, length);
    EXPECT_EQ(length, 250);
    EXPECT_EQ(buffer[0], 0);
    length = 255;
    advertiser->getMessageHeader(buffer, length);
    EXPECT_EQ(std::string(buffer, static_cast<size_t>(length)), "\2\xFD" + longest);
    EXPECT_EQ(KxcInetAdvertiser::create(buffer, 512), nullptr);
}

TEST(InetAdvertiser, FindsNothingBeyondATruncatedList)
{
    for (const std::string& list : {std::string("\3\2\1"), std::string("\3"), std::string("\2\xFFx\3\2\1\1"),
                                    std::string("\3\3\1\1\1"), std::string("\4\5\3\2\1\1", 6)})
    {
        std::unique_ptr<KxcInetAdvertiser> advertiser(
            KxcInetAdvertiser::create(list.data(), static_cast<INT32>(list.size())));
        EXPECT_EQ(advertiser->getGamePort(), 0);
        char buffer[300];
        INT32 length = 300;
        advertiser->getMessageData(buffer, length);
        EXPECT_EQ(length, 0);
        EXPECT_GT(advertiser->setMessageData("new", 3), 0);
        advertiser->setGamePort(5);
        EXPECT_EQ(advertiser->getGamePort(), 5);
    }
}

TEST(Advertiser, OfNoKindKeepsAHeaderAlone)
{
    KxcAdvertiser advertiser;
    advertiser.setGamePort(9);
    EXPECT_EQ(advertiser.getGamePort(), 9);
    EXPECT_EQ(advertiser.getType(), -1);
    EXPECT_EQ(advertiser.setMessageHeader("header", 512), -1);
    EXPECT_EQ(advertiser.setMessageHeader("header", 6), 1);
    EXPECT_EQ(advertiser.setMessageData("x", 1), -1);
    char buffer[10];
    INT32 length = sizeof(buffer);
    advertiser.getMessageHeader(buffer, length);
    EXPECT_EQ(std::string(buffer, static_cast<size_t>(length)), "header");
    advertiser.getMessageData(buffer, length);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(advertiser.isAddress(), 0);
}
