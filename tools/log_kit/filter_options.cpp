#include "log_kit/filter_options.h"

#include <sstream>

#include "log_kit/command.h"

// "imu,pvt"
static void addTypes(std::string const& text, PerType<bool>& types)
{
    std::istringstream names(text + ",");
    for (std::string name; std::getline(names, name, ',');)
        types[parseType(name)] = true;
}

void addFilterOptions(CLI::App& app, FilterOptions& options)
{
    addOption(app, "--from", "T",
              "Only records at or after this time: ticks (123456), the time since the start "
              "(+12:00, +90s) or UTC (2026-11-20T09:31:00Z)",
              [&](std::string const& text) { options.from = parseTimePoint(text); });
    addOption(app, "--to", "T", "Only records before this time",
              [&](std::string const& text) { options.to = parseTimePoint(text); });
    addOption(app, "--type", "TYPE,...", "Only these types: imu, gnss, pvt, attitude, generic",
              [&, isFirst = true](std::string const& text) mutable {
                  if (isFirst)
                      options.types = {};
                  isFirst = false;
                  addTypes(text, options.types);
              });
    app.add_option("--every", options.every, "Only the first of every N records of each type")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
}
