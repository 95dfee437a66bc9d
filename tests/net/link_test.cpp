// link_test.cpp - what the protocol promises, on networks that lose, delay, double and reorder.
#include "support/net.h"

#include <gtest/gtest.h>

namespace
{

/// A message that tells its number, the rest of it following from that.
std::string numbered(UINT32 number)
{
    std::string text(8 + number % 50, static_cast<char>(number * 7));
    memcpy(&text[0], &number, 4);
    const UINT32 check = ~number;
    memcpy(&text[4], &check, 4);
    return text;
}

struct Outcome
{
    INT64 datagrams;
    size_t repeats;
    UINT32 lateMs; // after the last message was written
};

/// Sends so many reliable messages each way, and waits until all have arrived.
Outcome converse(const LinkConditions& conditions, UINT32 messages, UINT32 runMs, INT32 creator, bool nearWrap = false)
{
    const UINT32 start = DrivenClock::nowMs();
    SimulatedLink link(conditions, 500, 100, creator);
    for (int end = 0; end < 2 && nearWrap; ++end) // both send 65424 next, and expect it
        for (UINT16 sequence : {30000, 60000, 65300})
            link.inject(end, sequence, 65423, KXCPACKET_RESYNC);
    std::vector<UINT8> seen[2] = {std::vector<UINT8>(messages), std::vector<UINT8>(messages)};
    size_t missing = messages * 2, repeats = 0;
    link.received = [&](int end, const char* data, INT32 length)
    {
        UINT32 number = messages;
        memcpy(&number, data, std::min<size_t>(4, static_cast<size_t>(length)));
        ASSERT_LT(number, messages);
        ASSERT_EQ(std::string(data, static_cast<size_t>(length)), numbered(number)) << "corrupted";
        repeats += seen[end][number];
        missing -= !seen[end][number];
        seen[end][number] = 1;
    };
    UINT32 next[2] = {0, 0}, finished = start;
    for (UINT32 run = 0; missing > 0 && run < messages * 100; ++run)
    {
        DrivenClock::nowMs() += runMs;
        for (int end = 0; end < 2; ++end)
            if (next[end] < messages &&
                link.send(end, numbered(next[end]).data(), static_cast<INT32>(numbered(next[end]).size())))
            {
                ++next[end];
                finished = DrivenClock::nowMs();
            }
        link.runBoth();
    }
    EXPECT_EQ(missing, 0u);
    return {link.datagrams, repeats, DrivenClock::nowMs() - finished};
}

} // namespace

TEST(BadNetwork, DeliversEveryReliableMessageUnharmed)
{
    DrivenClock clock;
    Engine engine;
    for (UINT32 seed = 1; seed <= 8; ++seed)
        for (double loss : {0.0, 0.05, 0.2})
            for (INT32 creator : {KXCCREATOR_SINGLE, KXCCREATOR_MANY})
            {
                LinkConditions how;
                how.seed = seed;
                how.loss = loss;
                how.jitterMs = loss > 0 ? 10 : 0;
                how.reorder = how.duplicate = loss / 2;
                const Outcome outcome = converse(how, 500, 16, creator);
                EXPECT_TRUE(loss > 0 || outcome.repeats == 0) << seed;
            }
}

TEST(BadNetwork, DeliversEveryReliableMessageAcrossManyWrapsOfTheNumbers)
{
    DrivenClock clock;
    Engine engine;
    LinkConditions how;
    how.delayMs = 3;
    const Outcome clean = converse(how, 100000, 1, KXCCREATOR_SINGLE); // 200 000 datagrams, one wrap
    EXPECT_GE(clean.datagrams, 200000);
    EXPECT_LT(clean.repeats, 1u);
    how.loss = 0.04;
    how.reorder = how.duplicate = 0.02;
    how.jitterMs = 2;
    converse(how, 20000, 1, KXCCREATOR_MANY); // every loss is a jump ahead: a wrap in some 3000 datagrams
}

TEST(BadNetwork, LosesNothingAroundTheWrap)
{
    DrivenClock clock;
    Engine engine;
    LinkConditions how;
    how.delayMs = 30; // several datagrams are under way when a gap is noticed
    for (how.seed = 1; how.seed <= 300; ++how.seed)
    {
        how.loss = how.seed % 2 ? 0.02 : 0.15;
        converse(how, 200, 5, how.seed % 3 ? KXCCREATOR_SINGLE : KXCCREATOR_MANY, true);
    }
}

TEST(BadNetwork, AsksAndAnswersInTheRunsThatFindOutAboutALoss)
{
    DrivenClock clock;
    Engine engine;
    constexpr UINT32 kRunMs = 16, kLost = 40; // two runs from end to end
    LinkConditions how;
    how.darkFromMs = clock.nowMs() + kLost * kRunMs;
    how.darkToMs = how.darkFromMs + kRunMs;
    SimulatedLink link(how, 40, 100);
    std::vector<UINT32> runsUnderWay[2];
    UINT32 run = 0;
    link.received = [&](int end, const char* data, INT32)
    {
        UINT32 written;
        memcpy(&written, data, sizeof(written));
        runsUnderWay[end].push_back(run - written);
    };
    for (; run < 60; ++run, clock.advance(kRunMs))
    {
        link.send(0, &run, sizeof(run));
        link.send(1, &run, sizeof(run));
        link.runBoth();
    }
    const std::vector<UINT32> expected = {2, 7, 6, 5, 4, 3, 2}; // noticed after 3, asked until 5, answered until 7
    for (const auto& runs : runsUnderWay)
    {
        ASSERT_EQ(runs.size(), 58u); // the last two are under way, and nothing came twice
        EXPECT_EQ(std::vector<UINT32>(runs.begin() + kLost - 1, runs.begin() + kLost + 6), expected);
    }
}

TEST(BadNetwork, ComesBackSoonAfterASecondOfDarkness)
{
    DrivenClock clock;
    Engine engine;
    LinkConditions how;
    how.darkFromMs = clock.nowMs() + 5000;
    how.darkToMs = how.darkFromMs + 1000;
    EXPECT_LT(converse(how, 360, 16, KXCCREATOR_MANY).lateMs, 500u); // the last ones are written in the dark
}

TEST(BadNetwork, LastStateOfEveryObjectArrives)
{
    DrivenClock clock;
    Engine engine;
    LinkConditions how;
    how.delayMs = 10;
    how.jitterMs = 8;
    how.reorder = 0.1;
    SimulatedLink link(how, 40, 100);
    std::map<INT32, INT32> states[2];
    link.received = [&](int end, const char* data, INT32)
    {
        INT32 state[2]; // the object and its value
        memcpy(state, data, sizeof(state));
        states[end][state[0]] = state[1];
    };
    for (INT32 run = 0; run < 400; ++run)
    {
        clock.advance(16);
        for (int end = 0; end < 2; ++end)
            for (INT32 object = 0; object < 10; ++object)
                if (run < 300 || object == run % 10) // less often at last
                {
                    KxcObjectDataFrame* frame = link.client(end).getRecentStateFrame(object);
                    ASSERT_TRUE(frame);
                    const INT32 state[2] = {object, run};
                    SimulatedLink::write(frame, state, sizeof(state));
                }
        link.runBoth();
    }
    for (INT32 run = 0; run < 20; ++run)
    {
        clock.advance(16);
        link.runBoth();
    }
    for (int end = 0; end < 2; ++end)
        for (INT32 object = 0; object < 10; ++object)
            EXPECT_EQ(states[end][object], 390 + object);
}
