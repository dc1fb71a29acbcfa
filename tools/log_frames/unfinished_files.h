#ifndef LOG_FRAMES_UNFINISHED_FILES_H
#define LOG_FRAMES_UNFINISHED_FILES_H

#include <cstddef>
#include <string>

// Output files under their temporary names, which a signal that ends the process removes, so that
// CTRL-C leaves nothing half-written. For one thread.

/// For main: SIGINT, SIGTERM, SIGHUP and SIGPIPE remove the unfinished files and then do what they
/// do by default. A signal that is ignored stays so.
void removeUnfinishedFilesOnSignals();

constexpr size_t MAX_UNFINISHED_FILES = 10000;

/// Keeps the file on the list as long as it lives. Of more than MAX_UNFINISHED_FILES at a time the
/// others are not removed.
class UnfinishedFile
{
public:
    explicit UnfinishedFile(std::string name);
    ~UnfinishedFile();
    UnfinishedFile(UnfinishedFile const&) = delete;
    UnfinishedFile& operator=(UnfinishedFile const&) = delete;

    std::string const& name() const { return m_name; }

private:
    std::string m_name;
};

#endif
