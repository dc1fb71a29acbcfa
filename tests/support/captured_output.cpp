#include "captured_output.h"

#include <cstdio>
#include <cstdlib>
#include <regex>

#include <unistd.h>

std::string capturedOutput(std::function<void()> const& action)
{
    fflush(stdout);
    int const terminal = dup(STDOUT_FILENO);
    FILE* const file = tmpfile();
    if (terminal == -1 || !file || dup2(fileno(file), STDOUT_FILENO) == -1)
        abort();

    action();

    fflush(stdout);
    dup2(terminal, STDOUT_FILENO);
    close(terminal);

    std::string text;
    rewind(file);
    for (int c = fgetc(file); c != EOF; c = fgetc(file))
        text += static_cast<char>(c);
    fclose(file);
    return text;
}

std::string withoutTimes(std::string const& text)
{
    return std::regex_replace(text, std::regex("[0-9]{2}:[0-9]{2}:[0-9]{2}"), "<time>");
}
