// What all tests share: GoogleTest and the headers that most of them need, a folder of a test's own, files as bytes,
// standard output as text, and pictures that are compared pixel by pixel.
#ifndef TEST_SUPPORT_H
#define TEST_SUPPORT_H

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

// A folder that is removed with its owner.
struct TestFolder
{
    ~TestFolder() { std::filesystem::remove_all(oPath); }
    std::string operator/(const std::string& sName) const { return oPath / sName; }

    char                        acTemplate[24] = "/tmp/qel-test-XXXXXX";
    const std::filesystem::path oPath          = mkdtemp(acTemplate);
};

template <class TBytes = std::string> TBytes ReadFile(const std::string& sPath)
{
    std::ifstream oFile(sPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(oFile), {}};
}

inline std::ptrdiff_t EntriesOf(const char* psz) { return std::distance(std::filesystem::directory_iterator(psz), {}); }

// What fWrite puts on standard output.
template <class TWrite> std::string OutputOf(TWrite fWrite)
{
    testing::internal::CaptureStdout();
    fWrite();
    return testing::internal::GetCapturedStdout();
}

// Whether each fFound(x, y) is the fExpected(x, y). If not, the answer shows the first that differs, and a map of what
// differs there and below.
template <class TFound, class TExpected>
testing::AssertionResult IsPicture(unsigned uiWidth, unsigned uiHeight, TFound fFound, TExpected fExpected)
{
    const auto fDiffer = [&](unsigned x, unsigned y) { return unsigned(fFound(x, y)) != unsigned(fExpected(x, y)); };
    for (unsigned i = 0; i < uiWidth * uiHeight; ++i)
        if (const unsigned x = i % uiWidth, y = i / uiWidth, uiLeft = x - std::min(x, 32u); fDiffer(x, y))
        {
            testing::Message oMap;
            oMap << std::hex << "0x" << unsigned(fFound(x, y)) << " instead of 0x" << unsigned(fExpected(x, y)) << std::dec
                 << " at column " << x << ", row " << y << "; from column " << uiLeft << " on:";
            for (unsigned uiRow = y; uiRow < std::min(y + 8, uiHeight); ++uiRow)
                for (unsigned uiColumn = uiLeft; uiColumn < std::min(uiLeft + 64, uiWidth); ++uiColumn)
                    oMap << (uiColumn == uiLeft ? "\n" : "") << (fDiffer(uiColumn, uiRow) ? '#' : '.');
            return testing::AssertionFailure() << oMap;
        }
    return testing::AssertionSuccess();
}

// The same of pixels that lie one behind the other.
template <class TPixel>
testing::AssertionResult AreRows(const std::vector<TPixel>& rFound, const std::vector<TPixel>& rExpected, size_t uiWidth)
{
    if (rFound.size() != rExpected.size() || rFound.size() % uiWidth != 0)
        return testing::AssertionFailure() << rFound.size() << " pixels instead of " << rExpected.size();
    const auto fOf = [=](const auto& r) { return [&r, uiWidth](unsigned x, unsigned y) { return r[y * uiWidth + x]; }; };
    return IsPicture(unsigned(uiWidth), unsigned(rFound.size() / uiWidth), fOf(rFound), fOf(rExpected));
}

#endif
