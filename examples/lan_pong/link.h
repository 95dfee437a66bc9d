// link.h - finds the other player and carries paddles, ball and score between the two.
//
// Who finds a game joins it; who finds none for a while offers one. The host alone moves the ball and counts the score.
// Paddles and ball are recent states: a lost one is overtaken by the next. The score is reliable.
#pragma once

#include <kxcoreemb/kxcoreemb.h>

#include <memory>
#include <string>

struct Place
{
    INT16 x = 0, y = 0;
};
struct Score
{
    INT32 host = 0, guest = 0;
    bool final = false; // nothing comes after this one
};

struct LinkOptions
{
    std::string host;             // to join without discovery; "" to look for a game
    UINT16 port = 0;              // of the host; alone: where to offer a game. 0: any
    UINT16 advertisePort = 47010; // where games are looked for
    INT32 patienceMs = 1500;      // before a game of one's own is offered
};

class Link : KxcUnknownSender, KxcClientLost, KxcDeviceDiscovery
{
public:
    explicit Link(const LinkOptions& options);
    ~Link() override;

    bool ready() const { return handler != nullptr; } ///< false when there is no network at all
    void tick();                                      ///< once a frame: looks for the other player until it is there
    bool connected() const { return heard; }
    bool isHost() const { return hosting; }
    const char* status() const; ///< what it is doing, in capitals
    INT32 roundTripMs() const { return client ? client->getRtt() : 0; }
    INT32 lossPercent() const { return client ? client->getRecvErrorValue() : 0; }
    bool allAcknowledged() const { return !client || client->countLocalWindow() == 0; }

    void sendPaddle(INT32 y);
    void sendBall(Place place);         ///< the host's
    void sendScore(const Score& score); ///< likewise
    INT32 otherPaddle() const { return paddle.value.y; }
    Place ball() const { return ballPlace.value; }
    Score score() const { return lastScore; }

private:
    /// What the other player said last about one thing.
    struct Receiver : KxcDataReceiver
    {
        using KxcDataReceiver::addData;
        void addData(const char* data, INT32 length) override;
        Link* link = nullptr;
        Place value;
    };

    void dataFromUnknownSender(const KxcAddress* sender, const char* data, INT32 length) override;
    void clientLost(INT32 clientId) override;
    void devicesFound(KxcLinkedList<KxcAdvertiser*>& found) override; // on the service's thread
    void search();
    bool offer();
    bool join(const KxcInetAddress& address);
    void sayHello();
    KxcObjectDataFrame* write(KxcObjectDataFrame* frame, UINT32 receiverId, Place place);

    const LinkOptions options;
    std::unique_ptr<KxcInetHandler> handler;
    std::unique_ptr<KxcInetClientWin> client;
    std::unique_ptr<KxcInetCommService> discovery;
    std::unique_ptr<KxcMutex> foundMutex; // guards the next two
    KxcInetAddress foundAddress;
    bool found = false;
    bool hosting = false, heard = false;
    INT32 searchSinceMs = 0, askedMs = 0, patienceMs = 0;
    Receiver paddle, ballPlace, scores, hellos;
    Score lastScore;
};
