#include <memory>

#include <fmt/format.h>

#include "log_kit/command.h"
#include "log_kit/diff_report.h"
#include "log_kit/text.h"

namespace
{

struct Arguments
{
    DiffOptions options;
    bool isJson = false;
};

}

static eStatus run(Arguments const& arguments, TerminalProgress& progress)
{
    DiffOptions const& options = arguments.options;
    DiffResult const result = diff(options, progress);
    progress.clear();

    if (arguments.isJson)
        fmt::print("{}\n", dumped(diffJson(options, result)));
    else
        fmt::print("{}", diffText(options, result));
    if (result.a.frames == 0 || result.b.frames == 0) {
        printError((result.a.frames == 0 ? options.a : options.b) + " holds no intact frame");
        return STATUS_FAILED;
    }
    if (!result.a.isClean())
        printError(options.a + ": " + lossText(result.a));
    if (!result.b.isClean())
        printError(options.b + ": " + lossText(result.b));
    bool const isGood = result.isSame() && result.a.isClean() && result.b.isClean();
    return isGood ? STATUS_GOOD : STATUS_DAMAGED;
}

static Command::Action add(CLI::App& app)
{
    auto const arguments = std::make_shared<Arguments>();
    DiffOptions& options = arguments->options;
    static constexpr int64_t MAX_SHIFT = int64_t{1} << 40; // ms
    app.add_option("A", options.a, "A log")->required();
    app.add_option("B", options.b, "Another one")->required();
    app.add_option("--shift", options.shift,
                   "Take B to be so much later than A, instead of finding it out")
        ->type_name("MS")
        ->check(CLI::Range(-MAX_SHIFT, MAX_SHIFT));
    app.add_option("--tolerance", options.tolerance,
                   "So far apart in time two records may be that belong together")
        ->type_name("MS")
        ->check(CLI::Range(int64_t{0}, int64_t{1000}))
        ->capture_default_str();
    app.add_flag("--json", arguments->isJson, "Print one JSON object");
    return [arguments](TerminalProgress& progress) { return run(*arguments, progress); };
}

Command const DIFF_COMMAND = {
    "diff", "Say what two logs share and where they differ",
    "  log_kit diff drive.log replayed.log        is the replay complete and unchanged?\n"
    "  log_kit diff --json old.log new.log        two firmwares on one drive, for a script",
    add};
