// The input is a log. What log_kit's subcommands say about it must agree.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

#include "log_frames/file_error.h"
#include "log_kit/check.h"
#include "log_kit/cut.h"
#include "log_kit/diff_report.h"
#include "log_kit/dump.h"
#include "log_kit/info_report.h"
#include "log_kit/merge.h"
#include "log_kit/record_text.h"
#include "log_kit/recover.h"
#include "log_kit/redact.h"
#include "log_kit/retime.h"
#include "log_kit/split.h"
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
    std::string part(char const* name) const { return m_folder + "/" + name; }

    std::string read(std::string const& name) const
    {
        std::ifstream file(name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

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

// A cut in the middle and the rest: together all records, each once.
static void fuzzCutAndMerge(Files const& files, uint64_t frames)
{
    Progress progress;
    CutOptions before = {{files.input(), files.part("before"), true}, {}};
    CutOptions after = {{files.input(), files.part("after"), true}, {}};
    before.filter.to = after.filter.from = parseTimePoint("+100ms");
    CutResult const first = cut(before, progress);
    CutResult const second = cut(after, progress);
    require(first.frames + second.frames == frames);

    MergeOptions options = {files.output(), {}, true};
    if (first.bytes > 0)
        options.inputs.push_back(before.files.output);
    if (second.bytes > 0)
        options.inputs.push_back(after.files.output);
    require(merge(options, progress).frames == frames);
}

static void fuzzSplit(Files const& files, std::string const& clean)
{
    Progress progress;
    SplitOptions options;
    options.input = files.input();
    options.prefix = files.part("part");
    options.every = 60000;
    options.size = 10000;
    options.gap = 1000;
    options.force = true;
    std::string all;
    try {
        for (SplitPart const& part : split(options, progress).parts) {
            all += files.read(part.file);
            std::filesystem::remove(part.file);
        }
    } catch (FileError const&) {
        return; // too many parts
    }
    require(all == clean);
}

static void fuzzRetime(Files const& files, std::string const& clean)
{
    Progress progress;
    RetimeOptions there = {{files.input(), files.part("there"), true}, eRetime::Shift, 123456, 0};
    if (retime(there, progress).madeOne == 0) {
        RetimeOptions const back = {
            {there.files.output, files.output(), true}, eRetime::Shift, -123456, 0};
        if (retime(back, progress).madeOne == 0)
            require(files.read(files.output()) == clean);
    }
    there.mode = eRetime::Unwrap;
    try {
        retime(there, progress);
    } catch (FileError const&) {
        return; // its times do not fit
    }
    require(files.read(there.files.output).size() == clean.size());
}

static void fuzzRedact(Files const& files, size_t cleanSize)
{
    Progress progress;
    RedactOptions options;
    options.files = {files.input(), files.output(), true};
    options.shift = GroundShift{1000, -2000};
    require(redact(options, progress).bytes == cleanSize);
    options.shift.reset();
    options.origin = GroundPoint{90, 0};
    require(!whatStillTells(options, redact(options, progress)).empty());
}

static void fuzzDumpAndDiff(Files const& files, uint64_t frames)
{
    Progress progress;
    uint64_t shown = 0;
    DumpOptions options;
    options.file = files.input();
    DumpOutput const output = {[&](DumpedRecord const& record) {
                                   ++shown;
                                   require(!recordText(record.frame).empty());
                               },
                               [](DamagedRegion const&) {}};
    dump(options, output);
    require(shown == frames);

    DiffOptions both;
    both.a = both.b = files.input();
    DiffResult const same = diff(both, progress);
    require(same.isSame() && same.inBoth() == frames);
    both.b = files.output();
    DiffResult const result = diff(both, progress);
    require(!diffText(both, result).empty() && !dumped(diffJson(both, result)).empty());
}

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
    if (recovered.frames == 0)
        return 0;

    std::string const clean = files.read(files.output());
    fuzzCutAndMerge(files, checked.frames);
    fuzzSplit(files, clean);
    fuzzRetime(files, clean);
    fuzzRedact(files, clean.size());
    fuzzDumpAndDiff(files, checked.frames);
    return 0;
}
