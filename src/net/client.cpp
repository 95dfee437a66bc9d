// client.cpp - what all peers have in common, and the interfaces a game hears of them by.
#include <kxcoreemb/address.h>
#include <kxcoreemb/communication.h>

#include "net/speed_code.h"

KxcClientLost::~KxcClientLost() = default;
KxcUnknownSender::~KxcUnknownSender() = default;
KxcPriorityHelp::~KxcPriorityHelp() = default;

KxcClientCommWin::KxcClientCommWin()
    : connectionType(0),
      connectionTimeoutMs(0),
      rttMs(0),
      commSpeed(kxcDefaultSpeed),
      lastError(0),
      clientId(-1),
      servant(nullptr),
      address(nullptr)
{
}

KxcClientCommWin::~KxcClientCommWin() { delete address; }

void KxcClientCommWin::intializeClient() {}
void KxcClientCommWin::deinitializeClient() {}
void KxcClientCommWin::setCommSpeed(INT32 code) { commSpeed = kxcSpeedOfCode(code, commSpeed); }
