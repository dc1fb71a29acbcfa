#ifndef LOG_FRAMES_OUTPUT_FILE_H
#define LOG_FRAMES_OUTPUT_FILE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "log_frames/checksum.h"
#include "log_frames/frame.h"

class ReadBack;
class UnfinishedFile;

/// What to do when there is a file of the output's name.
enum class eExisting
{
    Refuse,
    Replace,
};

/// A file that appears under its name only when it is whole and on the disk. Until publish() it has
/// a temporary name beside it; without publish() nothing is left of it.
///
/// All operations throw FileError.
class OutputFile
{
public:
    /// Refuses a name that is taken by something else than a regular file, whatever `existing` is.
    OutputFile(std::string const& name, eExisting existing);
    ~OutputFile();
    OutputFile(OutputFile const&) = delete;
    OutputFile& operator=(OutputFile const&) = delete;

    void write(unsigned char const* data, size_t size);
    void write(FrameRange const& frames) { write(frames.bytes(), frames.size()); }
    void write(Frame frame) { write(frame.bytes(), frame.size()); }

    /// Ends the file: waits until it is on the disk, compares what was read back with what was
    /// written. For outputs that appear together: publish() then only gives it its name.
    void finish();

    /// Ends the file, if finish() has not, and gives it its name.
    void publish();

    uint64_t size() const { return m_size; } // in bytes, so far
    std::string const& name() const { return m_name; }

private:
    void flush();
    void writeThrough(unsigned char const* data, size_t size);
    void writeAll(unsigned char const* data, size_t size);
    void compare();
    void rename();

    std::string m_name;   // as it was given
    std::string m_target; // where it leads
    eExisting m_existing;
    std::unique_ptr<UnfinishedFile> m_temporary;
    int m_fd = -1;
    std::unique_ptr<ReadBack> m_readBack; // of m_fd
    std::vector<unsigned char> m_buffer;  // of what comes in small pieces
    uint64_t m_size = 0;
    uint64_t m_writtenThrough = 0; // of m_size, the others are in the buffer
    uint64_t m_startedUpTo = 0;    // of these, on their way to the disk
    Checksum m_checksum;
};

#endif
