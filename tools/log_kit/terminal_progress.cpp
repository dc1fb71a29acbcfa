#include "log_kit/terminal_progress.h"

#include <cstdio>

#include <fmt/format.h>
#include <unistd.h>

#include "log_kit/text.h"

static constexpr std::chrono::milliseconds FIRST_SHOWN_AFTER{1000};
static constexpr std::chrono::milliseconds SHOWN_EVERY{200};

TerminalProgress::TerminalProgress() : m_isTerminal(isatty(STDERR_FILENO) == 1) {}

TerminalProgress::~TerminalProgress()
{
    clear();
}

void TerminalProgress::start(std::string const& file, std::optional<uint64_t> total)
{
    clear();
    m_file = file;
    m_total = total;
    m_start = Clock::now();
    m_next = m_start + FIRST_SHOWN_AFTER;
}

void TerminalProgress::at(uint64_t done)
{
    if (!m_isTerminal)
        return;
    auto const now = Clock::now();
    if (now < m_next)
        return;
    m_next = now + SHOWN_EVERY;
    show(done, std::chrono::duration<double>(now - m_start).count());
}

void TerminalProgress::show(uint64_t done, double seconds)
{
    double const rate = static_cast<double>(done) / seconds;
    std::string line = fmt::format("{}: {}", m_file, sizeText(done));
    if (m_total && *m_total > 0 && done <= *m_total) {
        auto const share = static_cast<double>(done) / static_cast<double>(*m_total);
        line = fmt::format("{}: {:.0f} % of {}, {} left", m_file, 100 * share, sizeText(*m_total),
                           spanText(static_cast<double>(*m_total - done) / rate));
    }
    // Back to the start of the line; what is left of a longer line is erased.
    fmt::print(stderr, "\r{}, {}/s\x1b[K", line, sizeText(static_cast<uint64_t>(rate)));
    fflush(stderr);
    m_isShown = true;
}

void TerminalProgress::clear()
{
    if (!m_isShown)
        return;
    fputs("\r\x1b[K", stderr);
    fflush(stderr);
    m_isShown = false;
}
