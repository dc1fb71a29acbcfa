#ifndef LOG_KIT_INFO_REPORT_H
#define LOG_KIT_INFO_REPORT_H

#include <string>
#include <vector>

#include "log_kit/info.h"
#include "log_kit/json.h"

// What `log_kit info` prints.

/// One screen for people.
std::string infoText(std::string const& file, Info const& info);

/// One line for people.
std::string infoLine(std::string const& file, Info const& info);

/// One object. Of a type, a fix or a value that the log does not have, all names are there, with
/// null, except that `gnss.fix` has only the fixes that came.
Json infoJson(std::string const& file, Info const& info);

/// What a script demands of a log.
struct InfoThresholds
{
    std::optional<double> maxGap;                             // s
    PerType<std::optional<double>> minRate;                   // Hz, of the median
    std::array<std::optional<double>, FIX_COUNT> minFix = {}; // share of time, up to 1
};

/// A sentence for each threshold that the log does not meet.
std::vector<std::string> missed(InfoThresholds const& thresholds, Info const& info);

#endif
