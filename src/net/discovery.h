// discovery.h - the thread behind KxcInetCommService: it answers inquiries and collects answers.
//
// One lock guards all of it. The thread lets go of it while it waits and while it looks a name up; it keeps it while
// the listener is called, so that nobody is called after cancelInquiry().
#pragma once

#include <kxcoreemb/advertiser.h>
#include <kxcoreemb/socket.h>

#include "net/name_lookup.h"
#include "net/socket_worker.h"

class KxcInetDiscovery : public KxcSocketWorker
{
public:
    static KxcInetDiscovery* create(); ///< started; null when the system has no thread, lock or socket left
    ~KxcInetDiscovery() override;      ///< waits for the thread

    /// Takes over the socket, whose inquiries are answered from now on. @param length  below 512
    void startAdvertising(KxcDgramSocket* socket, const char* message, INT32 length);
    INT32 changeAdvertisement(const char* message, INT32 length); ///< 0 when there is none
    void stopAdvertising();
    /// Takes over the socket, whose datagrams are reported to the service from now on.
    void startInquiry(KxcDgramSocket* socket, KxcInetCommService* service, KxcDeviceDiscovery* listener);
    void stopInquiry();

    INT32 run() override;

private:
    static constexpr INT32 kMostAnswers = 32; // that wait to be sent; beyond them, inquiries are not heard

    struct Answer
    {
        KxcInetAddress to;
        UINT32 dueMs;
    };

    KxcInetDiscovery() = default;
    INT32 waitMs() const; // until the next answer is due; -1 for ever. With the lock held, like the next three
    void hearInquiry();   // one that has arrived
    void sendDueAnswers();
    void setMessage(const char* message, INT32 length);
    void dropAnswers();
    INT32 collectAnswer(); // 0 when memory ran out. Takes the lock itself

    KxcDgramSocket* advertiseSocket = nullptr; // owned, like the next
    KxcDgramSocket* inquirySocket = nullptr;
    char advertisement[KxcAdvertiser::kBufferSize];
    INT32 advertisementLength = 0;
    Answer answers[kMostAnswers]; // oldest first
    INT32 answerCount = 0;
    KxcInetCommService* service = nullptr;
    UINT32 inquiries = 0; // so far: tells whether an answer still belongs to the present one
    KxcNameLookup names;  // the thread's
    KxcLinkedList<KxcAdvertiser*> found;
};
