#include <memory>

#include <fmt/format.h>

#include "log_kit/command.h"
#include "log_kit/json.h"
#include "log_kit/recover.h"
#include "log_kit/text.h"

namespace
{

struct Arguments
{
    RecoverOptions options;
    bool isJson = false;
};

}

static std::optional<double> secondsLost(LogTotals const& totals)
{
    if (!totals.isClean() && totals.regionsTimed == 0)
        return std::nullopt;
    return totals.secondsLost;
}

static std::string jsonText(RecoverOptions const& options, LogTotals const& totals)
{
    return dumped({{"file", options.input},
                   {"output", totals.frames > 0 ? Json(options.output) : Json(nullptr)},
                   {"frames", totals.frames},
                   {"bytes", totals.bytes},
                   {"damages", totals.regions},
                   {"lost_frames_at_most", totals.framesLostAtMost},
                   {"lost_seconds", jsonOf(secondsLost(totals))}});
}

static std::string lossText(LogTotals const& totals)
{
    if (totals.isClean())
        return "nothing was damaged";
    auto const seconds = secondsLost(totals);
    return fmt::format("{} left out: at most {}, {}", counted(totals.regions, "damaged region"),
                       counted(totals.framesLostAtMost, "record"),
                       seconds ? spanText(*seconds) : "of unknown duration");
}

static eStatus run(Arguments const& arguments, TerminalProgress& progress)
{
    RecoverOptions const& options = arguments.options;
    LogTotals const totals = recover(options, progress);
    progress.clear();

    if (arguments.isJson)
        fmt::print("{}\n", jsonText(options, totals));
    if (totals.frames == 0) {
        printError(options.input + " holds no intact frame; " + options.output +
                   " was not written");
        return STATUS_FAILED;
    }
    if (!arguments.isJson)
        fmt::print("{}: {} written to {}; {}\n", options.input, counted(totals.frames, "frame"),
                   options.output, lossText(totals));
    return totals.isClean() ? STATUS_GOOD : STATUS_DAMAGED;
}

static Command::Action add(CLI::App& app)
{
    auto const arguments = std::make_shared<Arguments>();
    app.add_option("IN", arguments->options.input, "The log; - is standard input")->required();
    app.add_option("OUT", arguments->options.output, "The log to write")->required();
    app.add_flag("--force", arguments->options.force, "Replace OUT if it exists");
    app.add_flag("--json", arguments->isJson, "Print one JSON object");
    return [arguments](TerminalProgress& progress) { return run(*arguments, progress); };
}

Command const RECOVER_COMMAND = {
    "recover", "Copy every intact frame of a damaged log to a new one",
    "  log_kit recover drive.log whole.log            all that is whole in drive.log\n"
    "  ssh board cat drive.log | log_kit recover - drive.log",
    add};
