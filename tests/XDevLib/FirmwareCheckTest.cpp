// The check against a board that answers from a script.
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "FpgaFirmwareCheck.h"

namespace
{
struct ScriptedFpga
{
    KUINT16 uiDevId, uiVendorId;
    KUINT32 uiAddress;
    KUINT8  uiMajor, uiMinor;
    KUINT16 uiBuild;
    TStatus eStatus = TStatus_OK;
};

std::vector<ScriptedFpga> g_aoFpgas;
TStatus                   g_eCountStatus;
KUINT32                   g_uiAsked;
TDEVICE_OBJECT* const     DEVICE = reinterpret_cast<TDEVICE_OBJECT*>(&g_aoFpgas);
}

TStatus TBoard_GetFpgaCount(TDevice_Handle hDev, KUINT32* puiCount)
{
    EXPECT_EQ(hDev, DEVICE);
    *puiCount = static_cast<KUINT32>(g_aoFpgas.size());
    return g_eCountStatus;
}

TStatus TBoard_GetFpgaInfo(TDevice_Handle hDev, KUINT32 uiIndex, tagTBoard_FpgaInfo* poFpgaInfo)
{
    const tagTBoard_FpgaInfo oFresh = {84, {}, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(std::memcmp(poFpgaInfo, &oFresh, sizeof(oFresh)), 0) << "each record starts as zeros and its size";
    EXPECT_TRUE(hDev == DEVICE && uiIndex == g_uiAsked++);
    const auto& [uiDevId, uiVendorId, uiAddress, uiMajor, uiMinor, uiBuild, eStatus] = g_aoFpgas.at(uiIndex);
    *poFpgaInfo = {84, {}, uiDevId, uiVendorId, 0, uiAddress, uiMajor, uiMinor, uiBuild};
    std::memset(poFpgaInfo->szName, 'n', sizeof(poFpgaInfo->szName));  // no terminator
    return eStatus;
}

TEST(FirmwareCheck, AnswersByTheLastFpgaExamined)
{
    const ScriptedFpga GOOD = {3, 0xc3e7, 0xd0, 1, 33, 0}, KNOWN = {5, 0xc3e7, 0xd0, 2, 1, 33};
    const ScriptedFpga UNKNOWN = {3, 0xc3e7, 0xd0, 1, 33, 7}, FAILING = {3, 0xc3e7, 0xd0, 1, 33, 0, TStatus_FAIL};
    const ScriptedFpga OTHER_ADDRESS = {3, 0xc3e7, 0xd2, 1, 33, 7}, OTHER_VENDOR = {3, 0x1234, 0xd0, 1, 33, 7};
    const std::tuple<const char*, std::vector<ScriptedFpga>, TStatus, KBOOL32, KUINT32> aoRows[] = {  // ..., result, asked
        {"no count", {GOOD}, TStatus_FAIL, FALSE, 0},
        {"none", {}, TStatus_OK, FALSE, 0},
        {"supported", {GOOD}, TStatus_OK, TRUE, 1},
        {"unknown", {UNKNOWN}, TStatus_OK, FALSE, 1},
        {"known as not supported: true, and the rest is not examined", {KNOWN, UNKNOWN}, TStatus_OK, TRUE, 1},
        {"supported, then unknown", {GOOD, UNKNOWN, GOOD}, TStatus_OK, FALSE, 2},
        {"others are skipped and leave the answer", {GOOD, OTHER_ADDRESS, OTHER_VENDOR}, TStatus_OK, TRUE, 3},
        {"only others", {OTHER_ADDRESS, OTHER_VENDOR}, TStatus_OK, FALSE, 2},
        {"a failing record keeps the answer so far", {GOOD, FAILING, UNKNOWN}, TStatus_OK, TRUE, 2},
        {"positive is no failure", {{3, 0xc3e7, 0xd0, 1, 33, 0, TStatus{1}}}, TStatus{1}, TRUE, 1},
        {"8 bits of the build count", {{3, 0xc3e7, 0xd0, 1, 24, 0x0105}}, TStatus_OK, TRUE, 1},
    };
    for (const auto& [pszCase, aoFpgas, eCountStatus, bExpected, uiAsked] : aoRows)
    {
        g_aoFpgas = aoFpgas, g_eCountStatus = eCountStatus, g_uiAsked = 0;
        testing::internal::CaptureStdout();
        EXPECT_TRUE(IsFpgaFirmwareSupported(DEVICE) == bExpected && g_uiAsked == uiAsked) << pszCase;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), aoFpgas.empty() ? "No FPGA detected!\n" : "") << pszCase;
    }
}
