#include "temp_dir.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>

TempDir::TempDir()
{
    std::string name = (std::filesystem::temp_directory_path() / "log_tool_XXXXXX").string();
    if (!mkdtemp(name.data()))
        throw std::system_error(errno, std::generic_category(), name);
    m_path = name;
}

TempDir::~TempDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::vector<unsigned char> readBytes(std::string const& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void writeBytes(std::string const& file, std::vector<unsigned char> const& bytes)
{
    std::ofstream stream(file, std::ios::binary);
    for (unsigned char const byte : bytes)
        stream.put(static_cast<char>(byte));
}
