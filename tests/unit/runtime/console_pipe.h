#ifndef TESTS_CONSOLE_PIPE_H
#define TESTS_CONSOLE_PIPE_H

#include <functional>
#include <string>

/// A pipe of one page in place of standard output.
class ConsolePipe
{
public:
    static constexpr int CAPACITY = 4096;

    /// `flags` of pipe2, for both ends.
    explicit ConsolePipe(int flags = 0);
    ~ConsolePipe();
    ConsolePipe(ConsolePipe const&) = delete;
    ConsolePipe& operator=(ConsolePipe const&) = delete;

    /// Never blocks.
    int reader() const { return m_reader; }

private:
    int m_terminal;
    int m_reader;
};

/// What `action` prints, at most 28 KiB, on a pipe that is full at first and makes room in signal
/// handlers only: the first write is interrupted, and a long text is written in parts.
std::string outputOnFullConsole(std::function<void()> const& action);

#endif
