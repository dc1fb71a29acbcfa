#include <memory>

#include <fmt/format.h>

#include "log_kit/copy_command.h"
#include "log_kit/retime.h"
#include "log_kit/text.h"

static std::string detailOf(RetimeResult const& result)
{
    std::string detail = fmt::format("{}, first stamp moved by {} ms",
                                     counted(result.read.frames, "frame"), result.shift);
    if (result.strays > 0)
        detail +=
            fmt::format(", {} far off set to the one before", counted(result.strays, "stamp"));
    if (result.madeOne > 0)
        detail += fmt::format(", {} set to 1, not 0", counted(result.madeOne, "stamp"));
    return detail + ",";
}

static eStatus run(RetimeOptions const& options, TerminalProgress& progress)
{
    RetimeResult const result = retime(options, progress);
    progress.clear();
    if (result.hasNewWrap)
        printError("warning: the counter wraps in " + options.files.output +
                   " where it did not before; log_tool -r sends all after that back to back");
    return reportCopy(options.files, result, detailOf(result));
}

static Command::Action add(CLI::App& app)
{
    auto const options = std::make_shared<RetimeOptions>();
    static constexpr int64_t MAX_TICKS = UINT32_MAX;
    addCopyOptions(app, options->files);
    auto* const how = app.add_option_group("How")->require_option(1);
    how->add_flag(
        "--unwrap", [=](int64_t) { options->mode = eRetime::Unwrap; },
        "Let the stamps go on through wraps and restarts of the counter, so that a replay keeps "
        "its pace there");
    how->add_option_function<int64_t>(
           "--shift",
           [=](int64_t ms) {
               options->mode = eRetime::Shift;
               options->shift = ms;
           },
           "Move all stamps by so many milliseconds, modulo 2^32")
        ->type_name("MS")
        ->check(CLI::Range(-MAX_TICKS, MAX_TICKS));
    how->add_option_function<int64_t>(
           "--start",
           [=](int64_t ticks) {
               options->mode = eRetime::Start;
               options->start = static_cast<uint32_t>(ticks);
           },
           "Move all stamps so that the first one becomes this")
        ->type_name("TICKS")
        ->check(CLI::Range(int64_t{0}, MAX_TICKS));
    return [options](TerminalProgress& progress) { return run(*options, progress); };
}

Command const RETIME_COMMAND = {
    "retime", "Move the time stamps of a log",
    "  log_kit retime drive.log even.log --unwrap          a log that replays at its true pace\n"
    "  log_kit retime drive.log zero.log --start 1000      one that begins at 1 s",
    add};
