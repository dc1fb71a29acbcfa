#include <memory>

#include <fmt/format.h>

#include "log_kit/copy_command.h"
#include "log_kit/json.h"
#include "log_kit/recover.h"
#include "log_kit/text.h"

namespace
{

struct Arguments
{
    CopyOptions options;
    bool isJson = false;
};

}

static std::string jsonText(CopyOptions const& options, LogTotals const& totals)
{
    return dumped({{"file", options.input},
                   {"output", totals.frames > 0 ? Json(options.output) : Json(nullptr)},
                   {"frames", totals.frames},
                   {"bytes", totals.bytes},
                   {"damages", totals.regions},
                   {"lost_frames_at_most", totals.framesLostAtMost},
                   {"lost_seconds", jsonOf(totals.knownSecondsLost())}});
}

static eStatus run(Arguments const& arguments, TerminalProgress& progress)
{
    CopyOptions const& options = arguments.options;
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
    addCopyOptions(app, arguments->options);
    app.add_flag("--json", arguments->isJson, "Print one JSON object");
    return [arguments](TerminalProgress& progress) { return run(*arguments, progress); };
}

Command const RECOVER_COMMAND = {
    "recover", "Copy every intact frame of a damaged log to a new one",
    "  log_kit recover drive.log whole.log            all that is whole in drive.log\n"
    "  ssh board cat drive.log | log_kit recover - drive.log",
    add};
