// every_allocation.h - runs an operation with its 1st, 2nd, 3rd ... allocation failing until it succeeds; once so that
// the next ones find memory again, and once so that there is none any more.
#pragma once

#include "support/engine.h"
#include "support/failing_new.h"

#include <functional>
#include <gtest/gtest.h>
#include <initializer_list>
#include <memory>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

/// Runs the part of an operation that may fail; around it there is memory.
class Attempt
{
public:
    Attempt(int successes, bool forGood) : m_successes(successes), m_forGood(forGood) {}

    /// @return whether the part answered success
    template <class Part>
    bool operator()(Part part)
    {
        m_forGood ? failAllocationsFrom(m_successes) : failAllocationAfter(m_successes);
        m_worked = part();
        m_failures = stopFailing();
        return m_worked;
    }
    bool worked() const { return m_worked; }
    int failures() const { return m_failures; }

private:
    int m_successes;
    bool m_forGood, m_worked = false;
    int m_failures = 0;
};

enum Expectation
{
    kReported, ///< each failure is, by the documented value
    kTolerated ///< it does what it can without: an operation that reports nothing, or can do without some memory
};

/// What is to survive. The run sets up what it needs, attempts once, checks that nothing is left half done.
struct Operation
{
    const char* name;
    int least; ///< allocations that it makes
    Expectation expectation;
    std::function<void(Attempt&)> run;
};

inline void failEveryAllocation(std::initializer_list<Operation> operations)
{
    for (const Operation& operation : operations)
        for (const bool forGood : {false, true})
        {
            SCOPED_TRACE(std::string(operation.name) + (forGood ? ", memory gone" : ", once"));
            int successes = 0;
            for (bool unharmed = false; !unharmed; ++successes)
            {
                ASSERT_LT(successes, 2000) << "never succeeds";
                Attempt attempt(successes, forGood);
                operation.run(attempt);
                unharmed = attempt.failures() == 0;
                if (unharmed || operation.expectation == kReported)
                {
                    ASSERT_EQ(attempt.worked(), unharmed) << "allocation " << successes;
                }
            }
            EXPECT_GE(successes - 1, operation.least) << "allocations";
#if defined(__SANITIZE_ADDRESS__)
            ASSERT_EQ(__lsan_do_recoverable_leak_check(), 0);
#endif
        }
}

/// A row of attempts at making an object that the caller deletes, or null.
template <class Create>
Operation creation(const char* name, int least, Create create)
{
    return {name, least, kReported,
            [create](Attempt& attempt)
            {
                decltype(create()) object = nullptr;
                attempt([&] { return (object = create()) != nullptr; });
                delete object;
            }};
}
