#ifndef LOG_KIT_COPY_COMMAND_H
#define LOG_KIT_COPY_COMMAND_H

#include "log_kit/command.h"
#include "log_kit/log_copy.h"

// What the subcommands have in common that make a new log of one log.

/// Adds IN, OUT and --force.
void addCopyOptions(CLI::App& app, CopyOptions& options);

/// Says what was read, written and left out. `detail` follows the name of the input: what was done.
/// When nothing was written, says so as an error.
eStatus reportCopy(CopyOptions const& options, CopyResult const& result, std::string const& detail);

#endif
