#ifndef LOG_KIT_FILTER_OPTIONS_H
#define LOG_KIT_FILTER_OPTIONS_H

#include <CLI/CLI.hpp>

#include "log_kit/record_filter.h"

/// Adds --from, --to, --type and --every, for the subcommands that choose records.
void addFilterOptions(CLI::App& app, FilterOptions& options);

#endif
