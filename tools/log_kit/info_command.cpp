#include <cmath>
#include <memory>
#include <stdexcept>

#include <fmt/format.h>

#include "log_kit/command.h"
#include "log_kit/info_report.h"
#include "log_kit/record_filter.h"

namespace
{

struct Arguments
{
    std::vector<std::string> files;
    InfoOptions options;
    InfoThresholds thresholds;
    bool isBrief = false;
    bool isJson = false;
};

}

static double parseNumber(std::string const& text, double max)
{
    double value = 0.0;
    if (!CLI::detail::lexical_cast(text, value) || !(value >= 0.0 && value <= max))
        throw std::invalid_argument(fmt::format("'{}' is no number from 0 to {:g}", text, max));
    return value;
}

// "name=number"
static std::pair<std::string, double> parseDemand(std::string const& text, double max)
{
    size_t const at = text.find('=');
    if (at == std::string::npos)
        throw std::invalid_argument("'" + text + "' has no '='");
    return {text.substr(0, at), parseNumber(text.substr(at + 1), max)};
}

static size_t parseFix(std::string const& name)
{
    for (size_t fix = 0; fix < FIX_COUNT; ++fix)
        if (name == fixText(fix))
            return fix;
    throw std::invalid_argument("'" + name +
                                "' is no fix; they are 3D, 2D, Time only, Dead reckoning, NO");
}

static void addThresholds(CLI::App& app, Arguments& arguments)
{
    static constexpr double MAX_SECONDS = 1e9;
    static constexpr double MAX_HZ = 1e9;

    addOption(
        app, "--gap", "SECONDS",
        "Tell gaps longer than this (default: 5 times the type's median interval, at least "
        "0.5)",
        [&](std::string const& text) { arguments.options.gap = parseNumber(text, MAX_SECONDS); });
    addOption(app, "--max-gap", "SECONDS", "Status 3 if a gap is longer",
              [&](std::string const& text) {
                  arguments.thresholds.maxGap = arguments.options.shortestGap =
                      parseNumber(text, MAX_SECONDS);
              });
    addOption(app, "--min-rate", "TYPE=HZ",
              "Status 3 if the type's median rate is lower; imu, gnss, pvt, attitude, generic",
              [&](std::string const& text) {
                  auto const [name, hz] = parseDemand(text, MAX_HZ);
                  arguments.thresholds.minRate[parseType(name)] = hz;
              });
    addOption(app, "--min-fix", "FIX=SHARE",
              "Status 3 if the fix is held for a smaller share of the time, for example 3D=0.9",
              [&](std::string const& text) {
                  auto const [name, share] = parseDemand(text, 1.0);
                  arguments.thresholds.minFix[parseFix(name)] = share;
              });
}

static eStatus judge(std::string const& file, Arguments const& arguments, Info const& info)
{
    if (info.totals.frames == 0) {
        printError(file + " holds no intact frame");
        return STATUS_FAILED;
    }
    auto const texts = missed(arguments.thresholds, info);
    for (std::string const& text : texts)
        printError(fmt::format("{}: {}", file, text));
    return texts.empty() && info.totals.isClean() ? STATUS_GOOD : STATUS_DAMAGED;
}

static eStatus run(std::string const& file, Arguments const& arguments, TerminalProgress& progress)
{
    InfoOptions options = arguments.options;
    options.file = file;
    Info const result = info(options, progress);
    progress.clear();

    if (arguments.isJson)
        fmt::print("{}\n", dumped(infoJson(file, result)));
    else
        fmt::print("{}", arguments.isBrief ? infoLine(file, result) : infoText(file, result));
    return judge(file, arguments, result);
}

static Command::Action add(CLI::App& app)
{
    auto const arguments = std::make_shared<Arguments>();
    app.add_option("FILE", arguments->files, "Logs; - is standard input")->required();
    auto* const brief = app.add_flag("--brief", arguments->isBrief, "Print one line for each log");
    app.add_flag("--json", arguments->isJson, "Print one JSON object for each log")
        ->excludes(brief);
    addThresholds(app, *arguments);
    return [arguments](TerminalProgress& progress) {
        return forEachFile(arguments->files, [&](std::string const& file) {
            return run(file, *arguments, progress);
        });
    };
}

Command const INFO_COMMAND = {
    "info", "Show what is in a log: times, rates, gaps, GNSS, what a replay will do",
    "  log_kit info drive.log                 one screen about this drive\n"
    "  log_kit info --brief --max-gap 2 --min-rate imu=95 --min-fix 3D=0.9 logs/*.log\n"
    "                                         which of these drives must be repeated",
    add};
