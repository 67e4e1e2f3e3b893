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

// Whether each fFound(x, y) is the fExpected(x, y). If not, the answer shows the first that differs.
template <class TFound, class TExpected>
testing::AssertionResult IsPicture(unsigned uiWidth, unsigned uiHeight, TFound fFound, TExpected fExpected)
{
    for (unsigned y = 0; y < uiHeight; ++y)
        for (unsigned x = 0; x < uiWidth; ++x)
            if (const unsigned uiFound = unsigned(fFound(x, y)), uiExpected = unsigned(fExpected(x, y));
                uiFound != uiExpected)
                return testing::AssertionFailure()
                       << (testing::Message() << std::hex << "0x" << uiFound << " instead of 0x" << uiExpected << std::dec
                                              << " at column " << x << ", row " << y);
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
