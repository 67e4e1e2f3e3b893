// Runs a fuzz target over every file of a folder, where no fuzzer is linked.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "Fuzz.h"

int main(int, char** argv)
{
    int iFiles = 0;
    for (const auto& roEntry : std::filesystem::directory_iterator(argv[1]))
    {
        std::ifstream     oFile(roEntry.path(), std::ios::binary);
        const std::string strBytes{std::istreambuf_iterator<char>(oFile), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(strBytes.data()), strBytes.size());
        ++iFiles;
    }
    return iFiles > 0 ? 0 : 1;
}
