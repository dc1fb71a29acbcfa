#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <utility>

#include "log_frames/unfinished_files.h"
#include "log_kit/command.h"

static constexpr Command const* COMMANDS[] = {
    &INFO_COMMAND,  &CHECK_COMMAND,  &RECOVER_COMMAND, &CUT_COMMAND,  &MERGE_COMMAND,
    &SPLIT_COMMAND, &RETIME_COMMAND, &REDACT_COMMAND,  &DUMP_COMMAND, &DIFF_COMMAND,
};

static char const* const FOOTER = "Exit status: 0 good, 1 failed or nothing readable, 2 wrong "
                                  "usage, 3 done but a log is damaged or below a threshold.\n"
                                  "log_kit COMMAND --help explains each.";

// Whatever is still in the buffer must be out before success is claimed.
static eStatus finishOutput(eStatus status)
{
    if (fflush(stdout) == 0 && !ferror(stdout))
        return status;
    if (errno != EPIPE) // nobody reads any more: that is no failure of ours
        fprintf(stderr, "log_kit: cannot write to standard output: %s\n", strerror(errno));
    return STATUS_FAILED;
}

static eStatus run(int argc, char** argv)
{
    CLI::App app{"Looks into the logs of log_tool: says what is in them, judges, mends and cuts "
                 "them. No log is ever changed in place."};
    app.name("log_kit");
    app.set_help_flag("-h,--help", "Print this help");
    app.require_subcommand(1);
    app.footer(FOOTER);

    std::vector<std::pair<CLI::App const*, Command::Action>> actions;
    for (Command const* const command : COMMANDS) {
        CLI::App& sub = *app.add_subcommand(command->name, command->summary);
        sub.footer(std::string("Examples:\n") + command->examples);
        actions.emplace_back(&sub, command->addTo(sub));
    }

    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        return app.exit(error) == 0 ? STATUS_GOOD : STATUS_USAGE;
    }

    TerminalProgress progress;
    for (auto const& [sub, action] : actions)
        if (sub->parsed())
            return finishOutput(action(progress));
    return STATUS_USAGE;
}

int main(int argc, char** argv)
{
    removeUnfinishedFilesOnSignals();
    try {
        return run(argc, argv);
    } catch (std::exception const& error) {
        printError(error.what());
        return STATUS_FAILED;
    }
}
