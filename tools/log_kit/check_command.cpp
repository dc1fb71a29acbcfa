#include <memory>

#include <fmt/format.h>

#include "log_frames/file_error.h"
#include "log_kit/check.h"
#include "log_kit/command.h"
#include "log_kit/json.h"
#include "log_kit/text.h"

namespace
{

struct Arguments
{
    std::vector<std::string> files;
    bool isJson = false;
};

}

static eStatus statusOf(LogTotals const& totals)
{
    if (totals.frames == 0)
        return STATUS_FAILED;
    return totals.isClean() ? STATUS_GOOD : STATUS_DAMAGED;
}

static eStatus checkAsText(std::string const& file, TerminalProgress& progress)
{
    LogTotals const totals = check({file}, progress, [&](DamagedRegion const& region) {
        progress.clear();
        fmt::print("{}: {}\n", file, regionText(region));
    });
    progress.clear();
    if (totals.isClean())
        fmt::print("{}: clean, {}, {}\n", file, counted(totals.frames, "frame"),
                   sizeText(totals.bytes));
    else
        fmt::print("{}: damaged, {} intact, {} with {} and at most {}\n", file,
                   counted(totals.frames, "frame"), counted(totals.regions, "damaged region"),
                   counted(totals.damagedBytes, "byte"),
                   counted(totals.framesLostAtMost, "record"));
    return statusOf(totals);
}

// The damages are printed as they are found: a hostile log has more of them than memory.
static eStatus checkAsJson(std::string const& file, TerminalProgress& progress)
{
    char const* separator = "";
    bool isStarted = false;
    auto const start = [&] {
        if (!isStarted)
            fmt::print("{{\"file\":{},\"damages\":[", dumped(Json(file)));
        isStarted = true;
    };
    auto const onRegion = [&](DamagedRegion const& region) {
        start();
        progress.clear();
        fmt::print("{}{}", separator, dumped(jsonOf(region)));
        separator = ",";
    };
    try {
        LogTotals const totals = check({file}, progress, onRegion);
        start();
        fmt::print("],\"bytes\":{},\"frames\":{},\"clean\":{}}}\n", totals.bytes, totals.frames,
                   totals.isClean());
        return statusOf(totals);
    } catch (FileError const&) {
        if (isStarted) // what was begun must stay an object
            fmt::print("],\"bytes\":null,\"frames\":null,\"clean\":null}}\n");
        throw;
    }
}

static Command::Action add(CLI::App& app)
{
    auto const arguments = std::make_shared<Arguments>();
    app.add_option("FILE", arguments->files, "Logs; - is standard input")->required();
    app.add_flag("--json", arguments->isJson, "Print one JSON object for each log");
    return [arguments](TerminalProgress& progress) {
        return forEachFile(arguments->files, [&](std::string const& file) {
            return arguments->isJson ? checkAsJson(file, progress) : checkAsText(file, progress);
        });
    };
}

Command const CHECK_COMMAND = {
    "check", "Read and judge every frame, and name each damage",
    "  log_kit check drive.log            what is wrong with this log, and where\n"
    "  log_kit check --json logs/*.log    the same for a folder, for a script",
    add};
