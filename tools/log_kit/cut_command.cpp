#include <memory>

#include <fmt/format.h>

#include "log_kit/copy_command.h"
#include "log_kit/cut.h"
#include "log_kit/filter_options.h"
#include "log_kit/text.h"

static eStatus run(CutOptions const& options, TerminalProgress& progress)
{
    CutResult const result = cut(options, progress);
    progress.clear();
    return reportCopy(
        options.files, result,
        fmt::format("{} of {}", grouped(result.frames), counted(result.read.frames, "frame")));
}

static Command::Action add(CLI::App& app)
{
    auto const options = std::make_shared<CutOptions>();
    addCopyOptions(app, options->files);
    addFilterOptions(app, options->filter);
    return [options](TerminalProgress& progress) { return run(*options, progress); };
}

Command const CUT_COMMAND = {
    "cut", "Copy a part of a log, by time and record type, to a new one",
    "  log_kit cut drive.log part.log --from +12:00 --to +22:00    ten minutes of it\n"
    "  log_kit cut drive.log slow.log --type imu,pvt --every 10    a tenth of two types",
    add};
