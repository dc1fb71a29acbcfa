#include "log_frames/unfinished_files.h"

#include <array>
#include <atomic>
#include <csignal>
#include <utility>

#include <unistd.h>

// Read by the signal handler: atomic, and each name stays in place while it is listed.
static std::array<std::atomic<char const*>, MAX_UNFINISHED_FILES> _names = {};
static_assert(std::atomic<char const*>::is_always_lock_free);

static void _remove_and_end(int signal)
{
    for (auto const& name : _names)
        if (char const* const path = name)
            unlink(path);
    raise(signal); // the default action, as soon as this returns: the handler is for one signal
}

void removeUnfinishedFilesOnSignals()
{
    for (int const number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        struct sigaction action = {};
        if (sigaction(number, nullptr, &action) == -1 || action.sa_handler == SIG_IGN)
            continue;
        action = {};
        action.sa_handler = _remove_and_end;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaction(number, &action, nullptr);
    }
}

UnfinishedFile::UnfinishedFile(std::string name) : m_name(std::move(name))
{
    for (auto& slot : _names) {
        char const* empty = nullptr;
        if (slot.compare_exchange_strong(empty, m_name.c_str()))
            return;
    }
}

UnfinishedFile::~UnfinishedFile()
{
    for (auto& slot : _names) {
        char const* mine = m_name.c_str();
        if (slot.compare_exchange_strong(mine, nullptr))
            return;
    }
}
