#ifndef LOG_KIT_TERMINAL_PROGRESS_H
#define LOG_KIT_TERMINAL_PROGRESS_H

#include <chrono>

#include "log_kit/progress.h"

/// Shows on standard error, if that is a terminal, how far the work is, how fast it goes and how
/// long it will take, once it has taken a second.
class TerminalProgress : public Progress
{
public:
    TerminalProgress();
    ~TerminalProgress() override;
    TerminalProgress(TerminalProgress const&) = delete;
    TerminalProgress& operator=(TerminalProgress const&) = delete;

    void start(std::string const& file, std::optional<uint64_t> total) override;
    void at(uint64_t done) override;

    /// Takes the line away: before anything else is printed, and when the work is done.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    void show(uint64_t done, double seconds);

    bool m_isTerminal;
    bool m_isShown = false;
    std::string m_file;
    std::optional<uint64_t> m_total;
    Clock::time_point m_start;
    Clock::time_point m_next; // when to show the line, or to renew it
};

#endif
