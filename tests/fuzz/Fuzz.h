// What the fuzz targets share: each is one function over the bytes of a file, and traps when something is not as it must be.
#ifndef FUZZ_H
#define FUZZ_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <sstream>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, size_t uiSize);

inline void Must(bool bHolds)
{
    if (!bHolds) __builtin_trap();
}

// A command line: the program's name, and an argument for each line of the bytes, which ends at its first null byte.
struct SCommandLine
{
    SCommandLine(const char* pszProgram, const std::uint8_t* puiData, size_t uiSize) : asArguments{pszProgram}
    {
        std::istringstream oLines(std::string(reinterpret_cast<const char*>(puiData), uiSize));
        for (std::string sLine; std::getline(oLines, sLine);) asArguments.push_back(sLine.substr(0, sLine.find('\0')));
        for (std::string& rs : asArguments) apszArguments.push_back(rs.data());
        apszArguments.push_back(nullptr);
    }
    int GetCount() const { return static_cast<int>(asArguments.size()); }

    std::deque<std::string> asArguments;
    std::vector<char*>      apszArguments;  // of those, and null
};

#endif
