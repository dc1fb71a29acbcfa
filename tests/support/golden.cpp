#include "golden.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

Golden readGolden(std::string const& file)
{
    std::ifstream input(std::filesystem::path(GOLDEN_FOLDER) / file);
    if (!input)
        throw std::runtime_error("no reference file " + file);

    Golden golden;
    for (std::string line; std::getline(input, line);) {
        if (line.rfind("#= ", 0) == 0)
            golden.expectations.push_back(line.substr(3));
        std::istringstream words(line.substr(0, line.find('#')));
        for (std::string word; words >> word;)
            golden.bytes.push_back(static_cast<unsigned char>(std::stoul(word, nullptr, 16)));
    }
    return golden;
}

std::vector<std::string> goldenFiles(std::string const& ending)
{
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(GOLDEN_FOLDER)) {
        std::string const name = entry.path().filename().string();
        if (name.size() > ending.size() &&
            name.compare(name.size() - ending.size(), ending.size(), ending) == 0)
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}
