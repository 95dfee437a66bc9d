// progress.h - a bar on the terminal for work that takes long; nothing where there is no terminal. One at a time.
#pragma once

#include <chrono>
#include <cstdio>
#include <string>
#include <unistd.h>

class Progress
{
public:
    explicit Progress(double total)
        : m_total(total),
          m_shows(isatty(STDERR_FILENO) != 0),
          m_next(Clock::now() + kPatience)
    {
        s_current = this;
    }
    ~Progress()
    {
        hide();
        s_current = nullptr;
    }

    /// @param amount  done since the last call, of the total
    void advance(double amount)
    {
        m_done += amount;
        if (!m_shows || Clock::now() < m_next)
            return;
        const int filled = m_total > 0 ? static_cast<int>(m_done / m_total * kWidth) : kWidth;
        std::fprintf(stderr, "\r[%s%s] %3d%%", std::string(static_cast<size_t>(filled), '#').c_str(),
                     std::string(static_cast<size_t>(kWidth - filled), '.').c_str(), filled * 100 / kWidth);
        m_drawn = true;
        m_next = Clock::now() + kPause;
    }

    /// Takes the bar away, if there is one, so that something else can be printed.
    static void hide()
    {
        if (s_current && s_current->m_drawn)
        {
            std::fprintf(stderr, "\r%*s\r", kWidth + 8, "");
            s_current->m_drawn = false;
        }
    }

private:
    typedef std::chrono::steady_clock Clock;
    static constexpr std::chrono::milliseconds kPatience{300}, kPause{50};
    static constexpr int kWidth = 50;
    static inline Progress* s_current = nullptr;

    double m_total, m_done = 0;
    bool m_shows, m_drawn = false;
    Clock::time_point m_next;
};
