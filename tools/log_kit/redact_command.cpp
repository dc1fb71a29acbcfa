#include <cmath>
#include <memory>
#include <stdexcept>

#include <fmt/format.h>

#include "log_kit/copy_command.h"
#include "log_kit/redact.h"
#include "log_kit/text.h"

static constexpr double MAX_SHIFT = 20e6; // m; half around the Earth

// "1500,-200.5"
static std::pair<double, double> parsePair(std::string const& text, double maxFirst,
                                           double maxSecond)
{
    size_t const comma = text.find(',');
    double first = std::nan("");
    double second = std::nan("");
    if (comma == std::string::npos || !CLI::detail::lexical_cast(text.substr(0, comma), first) ||
        !CLI::detail::lexical_cast(text.substr(comma + 1), second))
        throw std::invalid_argument("'" + text + "' is not two numbers with a comma between them");
    if (!(std::abs(first) <= maxFirst && std::abs(second) <= maxSecond))
        throw std::invalid_argument(
            fmt::format("'{}' is beyond {:.0f},{:.0f}", text, maxFirst, maxSecond));
    return {first, second};
}

static std::string detailOf(RedactOptions const& options, RedactResult const& result)
{
    std::string detail = counted(result.read.frames, "frame");
    if (options.shift || options.origin || options.strip)
        detail += fmt::format(", {} {}", counted(result.positions, "position"),
                              options.strip ? "stripped" : "moved");
    if (result.impossible > 0)
        detail +=
            fmt::format(", {} that cannot be set to 0", counted(result.impossible, "position"));
    if (options.utcShift != 0)
        detail += fmt::format(", UTC moved in {}", counted(result.utcs, "record"));
    return detail + ",";
}

static eStatus run(RedactOptions const& options, TerminalProgress& progress)
{
    RedactResult const result = redact(options, progress);
    progress.clear();
    eStatus const status = reportCopy(options.files, result, detailOf(options, result));
    if (result.bytes == 0)
        return status;
    fmt::print("What may still give the place away:\n");
    for (std::string const& tell : whatStillTells(options, result))
        fmt::print("- {}\n", tell);
    return status;
}

static Command::Action add(CLI::App& app)
{
    auto const options = std::make_shared<RedactOptions>();
    static constexpr int64_t MAX_UTC_SHIFT = INT32_MAX;
    addCopyOptions(app, options->files);
    addOption(app, "--shift-position", "NORTH_M,EAST_M", "Move every position by so many metres",
              [=](std::string const& text) {
                  auto const [north, east] = parsePair(text, MAX_SHIFT, MAX_SHIFT);
                  options->shift = {north, east};
              });
    addOption(app, "--origin", "LAT,LON",
              "Move the first position here, in degrees, and the whole track with it",
              [=](std::string const& text) {
                  auto const [latitude, longitude] = parsePair(text, 90, 180);
                  options->origin = {latitude, longitude};
              });
    app.add_flag("--strip-position", options->strip,
                 "Set every latitude, longitude and altitude to 0");
    app.add_option("--shift-utc", options->utcShift, "Move UTC by so many seconds")
        ->type_name("S")
        ->check(CLI::Range(-MAX_UTC_SHIFT, MAX_UTC_SHIFT));
    app.callback([options] {
        int const ways = options->shift.has_value() + options->origin.has_value() + options->strip;
        if (ways > 1)
            throw CLI::ValidationError(
                "only one of --shift-position, --origin and --strip-position");
        if (ways == 0 && options->utcShift == 0)
            throw CLI::RequiredError("--shift-position, --origin, --strip-position or --shift-utc");
    });
    return [options](TerminalProgress& progress) { return run(*options, progress); };
}

Command const REDACT_COMMAND = {
    "redact", "Hide where and when a drive was",
    "  log_kit redact drive.log public.log --origin 0,0    the same track in the Gulf of Guinea\n"
    "  log_kit redact drive.log public.log --strip-position --shift-utc -86400",
    add};
