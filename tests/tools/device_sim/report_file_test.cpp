#include "device_sim/report_file.h"

#include <cerrno>
#include <system_error>

#include <gtest/gtest.h>

#include "captured_output.h"
#include "sample_records.h"
#include "temp_dir.h"

TEST(ReportFile, keepsTheFormerReportUntilTheNewOne)
{
    TempDir const dir;
    writeBytes(dir.file("report"), Bytes(10000, 'x'));
    ReportFile report(dir.file("report"));
    EXPECT_EQ(Bytes(10000, 'x'), readBytes(dir.file("report")));
    report.write("{}");
    EXPECT_EQ((Bytes{'{', '}', '\n'}), readBytes(dir.file("report")));
}

TEST(ReportFile, mayBeTheStandardOutput)
{
    EXPECT_EQ("{}\n", capturedOutput([] { ReportFile("-").write("{}"); }));
    EXPECT_EQ("still open\n", capturedOutput([] { puts("still open"); }));
}

TEST(ReportFile, isRefusedAtTheStart)
{
    TempDir const dir;
    EXPECT_THROW(ReportFile(dir.file("none/report")), std::system_error);
}

TEST(ReportFile, tellsThatItFoundNoRoom)
{
    ReportFile full("/dev/full");
    try {
        full.write("{}");
        FAIL() << "nothing thrown";
    } catch (std::system_error const& error) {
        EXPECT_EQ(ENOSPC, error.code().value());
    }
}
