#include <cerrno>
#include <cstdio>
#include <memory>

#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include "log_kit/command.h"
#include "log_kit/dump.h"
#include "log_kit/filter_options.h"
#include "log_kit/record_text.h"
#include "log_kit/text.h"
#include "tt_mem_display.h"

static constexpr int LOOK_EVERY = 100; // ms, for what has been added to a log

namespace
{

struct Arguments
{
    DumpOptions options;
    bool isHex = false;
    bool isFollowed = false;
};

/// Standard output is closed or full: nothing more can be shown.
struct OutputEnded
{};

}

static void flushOutput()
{
    if (fflush(stdout) != 0 || ferror(stdout))
        throw OutputEnded();
}

static void printRecord(DumpedRecord const& record, bool isHex)
{
    Frame const frame = record.frame;
    fmt::print("{}, frame {}, offset {}, ticks {}, {}{:.3f} s\n", RECORD_NAMES[frame.index()],
               record.number, record.offset, frame.ticks(), record.time < 0 ? "" : "+",
               static_cast<double>(record.time) / 1e3);
    if (isHex) {
        flushOutput(); // the hex dump writes past the stream
        tt_data_display('b', frame.bytes(), static_cast<unsigned>(frame.size()),
                        static_cast<unsigned long>(record.offset));
    } else {
        fmt::print("{}", recordText(frame));
    }
    fputc('\n', stdout);
    if (ferror(stdout))
        throw OutputEnded();
}

// Until it is time to look again. Returns at once, and false, when nobody reads any more.
static bool waitForMore()
{
    flushOutput();
    pollfd output = {STDOUT_FILENO, 0, 0};
    int const ready = poll(&output, 1, LOOK_EVERY);
    return ready <= 0 || (output.revents & (POLLERR | POLLHUP)) == 0;
}

static eStatus show(Arguments const& arguments)
{
    std::string const& file = arguments.options.file;
    bool isDamaged = false;
    DumpOutput const output = {
        [&](DumpedRecord const& record) { printRecord(record, arguments.isHex); },
        [&](DamagedRegion const& region) {
            isDamaged = true;
            printError(file + ": damaged: " + regionText(region));
        }};

    if (arguments.isFollowed) {
        follow(arguments.options, output,
               {waitForMore, [&] { printError("another log begins under the name " + file); }});
    } else if (dump(arguments.options, output).frames == 0) {
        printError(file + " holds no intact frame");
        return STATUS_FAILED;
    }
    return isDamaged ? STATUS_DAMAGED : STATUS_GOOD;
}

static eStatus run(Arguments const& arguments)
{
    try {
        return show(arguments);
    } catch (OutputEnded const&) {
        return STATUS_FAILED; // main says why if it is worth a word
    }
}

static Command::Action add(CLI::App& app)
{
    auto const arguments = std::make_shared<Arguments>();
    app.add_option("FILE", arguments->options.file, "The log; - is standard input")->required();
    addFilterOptions(app, arguments->options.filter);
    app.add_flag("--hex", arguments->isHex, "Show the bytes of the frames instead of their values");
    app.add_flag("--follow", arguments->isFollowed,
                 "Go on with what is added to the log, until CTRL-C");
    app.callback([arguments] {
        if (arguments->isFollowed && arguments->options.file == "-")
            throw CLI::ValidationError("--follow", "standard input cannot be followed");
    });
    return [arguments](TerminalProgress&) { return run(*arguments); };
}

Command const DUMP_COMMAND = {
    "dump", "Print the records of a log as text",
    "  log_kit dump drive.log --type pvt --from +12:00 | less    the positions from minute 12 on\n"
    "  log_kit dump --follow --hex drive.log                     a log that is being written",
    add};
