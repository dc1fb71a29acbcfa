#ifndef DEVICE_SIM_REPORT_FILE_H
#define DEVICE_SIM_REPORT_FILE_H

#include <cstdio>
#include <string>

/// Where a report goes at the end of a run. Opened at its start: a run of hours must not end
/// without a place for its report.
class ReportFile
{
public:
    /// "-" is the standard output. What the file holds stays there until write(). Throws
    /// std::system_error when it cannot be written.
    explicit ReportFile(std::string const& name);
    ~ReportFile();
    ReportFile(ReportFile const&) = delete;
    ReportFile& operator=(ReportFile const&) = delete;

    /// Replaces the content by this line. Call it once. Throws std::system_error when it is not
    /// written whole.
    void write(std::string const& line);

private:
    std::string m_name;
    FILE* m_file;
};

#endif
