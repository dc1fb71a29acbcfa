#include <memory>

#include <fmt/format.h>

#include "log_kit/command.h"
#include "log_kit/merge.h"
#include "log_kit/text.h"

static void reportPairs(MergeOptions const& options, MergeResult const& result)
{
    for (Overlap const& overlap : result.overlaps)
        fmt::print("{} and {} overlap from ticks {} to {}, {}\n", options.inputs[overlap.a],
                   options.inputs[overlap.b], static_cast<uint32_t>(overlap.from),
                   static_cast<uint32_t>(overlap.to),
                   spanText(static_cast<double>(overlap.to - overlap.from) / 1e3));
    for (auto const& [a, b] : result.otherClocks()) {
        auto const apart = static_cast<double>(*result.logs[a].clock - *result.logs[b].clock);
        printError(fmt::format("warning: by their UTC, {} and {} are not of one run of the "
                               "device's counter: {} apart; retime one of them before merging",
                               options.inputs[a], options.inputs[b],
                               spanText(std::abs(apart) / 1e3)));
    }
}

static eStatus run(MergeOptions const& options, TerminalProgress& progress)
{
    MergeResult const result = merge(options, progress);
    progress.clear();

    eStatus status = STATUS_GOOD;
    for (size_t i = 0; i < options.inputs.size(); ++i) {
        LogTotals const& totals = result.logs[i].totals;
        fmt::print("{}: {}; {}\n", options.inputs[i], counted(totals.frames, "frame"),
                   lossText(totals));
        if (!totals.isClean())
            status = STATUS_DAMAGED;
    }
    if (result.frames == 0) {
        printError("no log holds an intact frame; " + options.output + " was not written");
        return STATUS_FAILED;
    }
    reportPairs(options, result);
    fmt::print("{} written to {}\n", counted(result.frames, "frame"), options.output);
    return status;
}

static Command::Action add(CLI::App& app)
{
    auto const options = std::make_shared<MergeOptions>();
    app.add_option("OUT", options->output, "The log to write")->required();
    app.add_option("IN", options->inputs, "Logs; - is standard input")->required();
    app.add_flag("--force", options->force, "Replace OUT if it exists");
    return [options](TerminalProgress& progress) { return run(*options, progress); };
}

Command const MERGE_COMMAND = {
    "merge", "Put several logs together to one, in the order of time",
    "  log_kit merge drive.log morning.log noon.log    two parts of one drive\n"
    "  log_kit merge all.log drive-*.log               what split has made of a log",
    add};
