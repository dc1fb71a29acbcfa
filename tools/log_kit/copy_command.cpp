#include "log_kit/copy_command.h"

#include <fmt/format.h>

#include "log_kit/text.h"

void addCopyOptions(CLI::App& app, CopyOptions& options)
{
    app.add_option("IN", options.input, "The log; - is standard input")->required();
    app.add_option("OUT", options.output, "The log to write")->required();
    app.add_flag("--force", options.force, "Replace OUT if it exists");
}

eStatus reportCopy(CopyOptions const& options, CopyResult const& result, std::string const& detail)
{
    if (result.bytes == 0) {
        printError(fmt::format("{} holds no {}; {} was not written", options.input,
                               result.read.frames == 0 ? "intact frame" : "such record",
                               options.output));
        return STATUS_FAILED;
    }
    fmt::print("{}: {} written to {}; {}\n", options.input, detail, options.output,
               lossText(result.read));
    return result.read.isClean() ? STATUS_GOOD : STATUS_DAMAGED;
}
