#ifndef TESTS_LOG_KIT_LOG_FILES_H
#define TESTS_LOG_KIT_LOG_FILES_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "generated_log.h"
#include "log_frames/frame_writer.h"
#include "log_kit/progress.h"
#include "temp_dir.h"

/// Logs in a folder of the test's own.
class LogFiles : public testing::Test
{
protected:
    std::string path(std::string const& name) const { return m_dir.file(name); }
    void write(std::string const& name, std::string const& content) const
    {
        writeBytes(path(name), {content.begin(), content.end()});
    }
    std::string read(std::string const& name) const
    {
        auto const bytes = readBytes(path(name));
        return {bytes.begin(), bytes.end()};
    }
    bool exists(std::string const& name) const { return std::filesystem::exists(path(name)); }
    size_t fileCount() const
    {
        std::filesystem::directory_iterator const files(path(""));
        return static_cast<size_t>(std::distance(begin(files), end(files)));
    }

    TempDir m_dir;
    Progress m_progress;
};

/// The frame of a record as bytes.
template <class Record>
std::string frameOf(Record const& record)
{
    auto const frame = encodeFrame(record);
    return {frame.begin(), frame.end()};
}

#endif
