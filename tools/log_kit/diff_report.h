#ifndef LOG_KIT_DIFF_REPORT_H
#define LOG_KIT_DIFF_REPORT_H

#include <string>

#include "log_kit/diff.h"
#include "log_kit/json.h"

// What `log_kit diff` prints.

/// For people.
std::string diffText(DiffOptions const& options, DiffResult const& result);

/// One object. A type has all names; `fields` holds those that differ.
Json diffJson(DiffOptions const& options, DiffResult const& result);

#endif
