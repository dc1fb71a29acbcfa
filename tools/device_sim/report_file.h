#ifndef DEVICE_SIM_REPORT_FILE_H
#define DEVICE_SIM_REPORT_FILE_H

#include <cstdio>
#include <string>

/// The file for the report at the end of a run. It is opened at the start, so that a run of hours
/// cannot end without a place for its report.
class ReportFile
{
public:
    /// "-" is the standard output. The file keeps its content until write(). Throws
    /// std::system_error if it cannot be written.
    explicit ReportFile(std::string const& name);
    ~ReportFile();
    ReportFile(ReportFile const&) = delete;
    ReportFile& operator=(ReportFile const&) = delete;

    /// Replaces the content by this line. Call it once. Throws std::system_error if the line cannot
    /// be written completely.
    void write(std::string const& line);

private:
    std::string m_name;
    FILE* m_file;
};

#endif
