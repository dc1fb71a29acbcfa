#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include <fmt/format.h>

#include "log_frames/frame_layout.h"
#include "log_kit/command.h"
#include "log_kit/split.h"
#include "log_kit/text.h"
#include "log_kit/time_point.h"

static constexpr double DEFAULT_GAP = 5.0; // s

namespace
{

struct Arguments
{
    SplitOptions options;
    bool atGaps = false;
    double gap = DEFAULT_GAP;
};

}

static eStatus run(Arguments const& arguments, TerminalProgress& progress)
{
    SplitOptions options = arguments.options;
    if (arguments.atGaps)
        options.gap = static_cast<int64_t>(arguments.gap * 1e3);
    if (options.prefix.empty())
        options.prefix = std::filesystem::path(options.input).replace_extension().string();

    SplitResult const result = split(options, progress);
    progress.clear();
    if (result.parts.empty()) {
        printError(options.input + " holds no intact frame; nothing was written");
        return STATUS_FAILED;
    }
    for (SplitPart const& part : result.parts)
        fmt::print("{}: {}, {}, {}\n", part.file, counted(part.frames, "frame"),
                   sizeText(part.bytes),
                   spanText(static_cast<double>(part.last - part.first) / 1e3));
    fmt::print("{}: {} written to {}; {}\n", options.input, counted(result.read.frames, "frame"),
               counted(result.parts.size(), "part"), lossText(result.read));
    return result.read.isClean() ? STATUS_GOOD : STATUS_DAMAGED;
}

static int64_t parseLength(std::string const& text)
{
    int64_t const length = parseDuration(text);
    if (length == 0)
        throw std::invalid_argument("a part cannot last 0 s");
    return length;
}

// "100M"
static uint64_t parseSize(std::string const& text)
{
    static constexpr uint64_t MAX_NUMBER = uint64_t{1} << 32;
    char* end = nullptr;
    bool const isNumber = !text.empty() && isdigit(static_cast<unsigned char>(text.front()));
    uint64_t const number = isNumber ? strtoull(text.c_str(), &end, 10) : 0;
    std::string const unit = isNumber ? end : "";
    unsigned const shift = unit == "K" ? 10 : unit == "M" ? 20 : unit == "G" ? 30 : 0;
    bool const isUnit = unit.empty() || shift != 0;
    if (!isNumber || !isUnit || number > MAX_NUMBER || number << shift < LARGEST_FRAME)
        throw std::invalid_argument(fmt::format("'{}' is no size of at least {} bytes; examples: "
                                                "1500000, 700K, 100M, 2G",
                                                text, LARGEST_FRAME));
    return number << shift;
}

static Command::Action add(CLI::App& app)
{
    auto const arguments = std::make_shared<Arguments>();
    SplitOptions& options = arguments->options;
    app.add_option("IN", options.input, "The log; - is standard input, with --prefix")->required();
    addOption(app, "--every", "DURATION", "End a part after so long: 10min, 90s, 1:30:00",
              [&](std::string const& text) { options.every = parseLength(text); });
    addOption(app, "--size", "BYTES",
              "End a part before it gets larger: 100M; K, M and G are powers of 1024",
              [&](std::string const& text) { options.size = parseSize(text); });
    app.add_flag("--at-gaps", arguments->atGaps,
                 "End a part where no record of any type comes for a time, and where the device's "
                 "counter restarts");
    app.add_option("--gap", arguments->gap, "How long that time is at least")
        ->type_name("SECONDS")
        ->needs("--at-gaps")
        ->check(CLI::Range(0.0, 1e9))
        ->capture_default_str();
    app.add_option("--prefix", options.prefix,
                   "Name the parts PREFIX-0001.log and so on (default: IN without its extension)");
    app.add_flag("--force", options.force, "Replace parts that exist");
    app.callback([arguments] {
        SplitOptions const& given = arguments->options;
        if (!given.every && !given.size && !arguments->atGaps)
            throw CLI::RequiredError("--every, --size or --at-gaps");
        if (given.input == "-" && given.prefix.empty())
            throw CLI::RequiredError("--prefix with standard input");
    });
    return [arguments](TerminalProgress& progress) { return run(*arguments, progress); };
}

Command const SPLIT_COMMAND = {
    "split", "Cut a log into parts, by time, by size or at gaps",
    "  log_kit split drive.log --every 10min    drive-0001.log and so on, ten minutes each\n"
    "  log_kit split drive.log --at-gaps        a part for each run of the device",
    add};
