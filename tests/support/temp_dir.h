#ifndef TESTS_TEMP_DIR_H
#define TESTS_TEMP_DIR_H

#include <filesystem>
#include <string>
#include <vector>

/// A fresh folder, removed with everything in it at the end.
class TempDir
{
public:
    TempDir();
    ~TempDir();
    TempDir(TempDir const&) = delete;
    TempDir& operator=(TempDir const&) = delete;

    /// The path of a file in the folder.
    std::string file(std::string const& name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

std::vector<unsigned char> readBytes(std::string const& file);
void writeBytes(std::string const& file, std::vector<unsigned char> const& bytes);

#endif
