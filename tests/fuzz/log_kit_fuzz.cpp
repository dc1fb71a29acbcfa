// The input is a log. What log_kit's subcommands say about it must agree.

#include <filesystem>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

#include "log_kit/check.h"
#include "log_kit/info_report.h"
#include "log_kit/recover.h"
#include "log_kit/text.h"
#include "require.h"

namespace
{

/// A file in memory, and a folder in memory for outputs.
class Files
{
public:
    Files()
    {
        char folder[] = "/dev/shm/log_kit_fuzzXXXXXX";
        require(m_fd != -1 && mkdtemp(folder) != nullptr);
        m_folder = folder;
    }
    ~Files() { std::filesystem::remove_all(m_folder); }
    Files(Files const&) = delete;
    Files& operator=(Files const&) = delete;

    std::string input() const { return "/proc/self/fd/" + std::to_string(m_fd); }
    std::string output() const { return m_folder + "/out"; }

    void fill(uint8_t const* data, size_t size) const
    {
        require(pwrite(m_fd, data, size, 0) == static_cast<ssize_t>(size) &&
                ftruncate(m_fd, static_cast<off_t>(size)) == 0);
    }

private:
    int m_fd = memfd_create("log", MFD_CLOEXEC);
    std::string m_folder;
};

}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    static Files const files;
    Progress progress;
    files.fill(data, size);

    uint64_t damagedBytes = 0;
    LogTotals const checked = check({files.input()}, progress, [&](DamagedRegion const& region) {
        require(!regionText(region).empty());
        damagedBytes += region.length;
    });
    require(checked.bytes == size && checked.damagedBytes == damagedBytes);

    InfoOptions options;
    options.file = files.input();
    Info const result = info(options, progress);
    require(result.totals.frames == checked.frames);
    require(!infoText("log", result).empty() && !infoLine("log", result).empty());
    require(!dumped(infoJson("log", result)).empty());
    uint64_t bytes = damagedBytes;
    for (TypeInfo const& type : result.types)
        bytes += type.bytes;
    require(bytes == size);

    LogTotals const recovered = recover({files.input(), files.output(), true}, progress);
    require(recovered.frames == checked.frames && recovered.regions == checked.regions);
    if (recovered.frames > 0) {
        LogTotals const clean = check({files.output()}, progress, nullptr);
        require(clean.isClean() && clean.frames == recovered.frames);
        require(clean.bytes == size - damagedBytes);
    }
    return 0;
}
