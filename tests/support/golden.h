#ifndef TESTS_GOLDEN_H
#define TESTS_GOLDEN_H

#include <string>
#include <vector>

/// A reference file of tests/golden.
struct Golden
{
    std::vector<unsigned char> bytes;
    std::vector<std::string> expectations; // the JSON of its lines "#= ..."
};

Golden readGolden(std::string const& file);

/// The names of the files that end with this.
std::vector<std::string> goldenFiles(std::string const& ending);

#endif
