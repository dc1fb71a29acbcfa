#ifndef LOG_FRAMES_INPUT_FILE_H
#define LOG_FRAMES_INPUT_FILE_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "log_frames/i_byte_source.h"
#include "log_frames/read_ahead.h"

/// A file, a pipe or standard input, read once from start to end; never written. Files are read,
/// not mapped, so that one which shrinks meanwhile gives an error and not a signal.
class InputFile : public IByteSource
{
public:
    /// Opens the file; "-" is standard input. Throws FileError.
    explicit InputFile(std::string const& name);
    ~InputFile() override;
    InputFile(InputFile const&) = delete;
    InputFile& operator=(InputFile const&) = delete;

    /// Throws FileError when the file cannot be read, or has become shorter since it was opened.
    size_t read(unsigned char* data, size_t size) override;

    /// For people: the name, "standard input" for "-".
    std::string const& name() const { return m_name; }

    /// What there was to read when the file was opened; unknown for a pipe.
    std::optional<uint64_t> size() const { return m_size; }

    /// Whether a file of that name can be read again: it is not standard input, nor a pipe.
    static bool canBeReadTwice(std::string const& name);

    bool isStandardInput() const { return m_isStandardInput; }

    /// Whether this is the very file of that name, by whatever path.
    bool isSameFile(std::string const& name) const;

private:
    ptrdiff_t readSome(unsigned char* data, size_t size);

    std::string m_name;
    bool m_isStandardInput;
    int m_fd;
    std::optional<uint64_t> m_size;
    uint64_t m_read = 0;
    std::unique_ptr<ReadAhead> m_ahead; // of a large file
};

#endif
