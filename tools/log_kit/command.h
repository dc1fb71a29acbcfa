#ifndef LOG_KIT_COMMAND_H
#define LOG_KIT_COMMAND_H

#include <functional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "log_kit/status.h"
#include "log_kit/terminal_progress.h"

/// A subcommand: what main's table holds of it. The function that does the work is in the library.
struct Command
{
    using Action = std::function<eStatus(TerminalProgress& progress)>;

    char const* name;
    char const* summary;
    char const* examples; // two lines, each a command and what it does

    /// Adds the options to the subcommand, and returns what runs once they are parsed.
    Action (*addTo)(CLI::App& app);
};

extern Command const INFO_COMMAND;
extern Command const CHECK_COMMAND;
extern Command const RECOVER_COMMAND;

/// Runs the work for each file. A file that cannot be read or written is reported, and the others
/// go on.
eStatus forEachFile(std::vector<std::string> const& files,
                    std::function<eStatus(std::string const& file)> const& work);

/// Reports on standard error.
void printError(std::string const& text);

#endif
