#include "device_sim/report_file.h"

#include <cerrno>
#include <system_error>

#include <unistd.h>

ReportFile::ReportFile(std::string const& name)
    : m_name(name == "-" ? "the standard output" : name),
      m_file(name == "-" ? stdout : fopen(name.c_str(), "ae"))
{
    if (!m_file)
        throw std::system_error(errno, std::generic_category(), "cannot write " + m_name);
}

ReportFile::~ReportFile()
{
    if (m_file != stdout)
        fclose(m_file);
}

void ReportFile::write(std::string const& line)
{
    // A pipe or a device has no length to cut: EINVAL.
    if (m_file != stdout && ftruncate(fileno(m_file), 0) == -1 && errno != EINVAL)
        throw std::system_error(errno, std::generic_category(), "cannot empty " + m_name);
    if (fprintf(m_file, "%s\n", line.c_str()) < 0 || fflush(m_file) != 0)
        throw std::system_error(errno, std::generic_category(), "cannot write all of " + m_name);
}
