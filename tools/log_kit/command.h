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
extern Command const CUT_COMMAND;
extern Command const MERGE_COMMAND;
extern Command const SPLIT_COMMAND;
extern Command const RETIME_COMMAND;
extern Command const REDACT_COMMAND;
extern Command const DUMP_COMMAND;
extern Command const DIFF_COMMAND;

/// Adds an option, which may come several times, whose value `take` parses. An
/// std::invalid_argument of it is told to the user as wrong usage.
void addOption(CLI::App& app, std::string const& name, std::string const& type,
               std::string const& help, std::function<void(std::string const&)> const& take);

/// Runs the work for each file. A file that cannot be read or written is reported, and the others
/// go on.
eStatus forEachFile(std::vector<std::string> const& files,
                    std::function<eStatus(std::string const& file)> const& work);

/// Reports on standard error.
void printError(std::string const& text);

#endif
