// bluetooth_test.cpp - that there is none.
#include <kxcoreemb/kxcoreemb.h>

#include <gtest/gtest.h>
#include <memory>

TEST(Bluetooth, RefusesWhateverWouldNeedIt)
{
    EXPECT_EQ(KxcBtAddress::create(), nullptr);
    EXPECT_EQ(KxcBtHandler::create(500, 500), nullptr);
    EXPECT_EQ(KxcBtClientWin::create(10, 100), nullptr);
    EXPECT_EQ(KxcBtSecurity::create(), nullptr);
    EXPECT_EQ(KxcRFCOMMSocket::create(), nullptr);
    std::unique_ptr<KxcBtCommService> service(KxcBtCommService::create());
    EXPECT_EQ(service->lockPiconet(), -2);
    EXPECT_EQ(service->advertise(KxcAdvertiser(), nullptr), -1);
    EXPECT_EQ(service->inquiry(KxcAdvertiser(), nullptr, nullptr), -1);
    std::unique_ptr<KxcBtHostResolver> resolver(KxcBtHostResolver::create());
    KxcName name;
    EXPECT_EQ(resolver->localName(name), -1);
}
