// The check against a board that answers from a script.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

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
    EXPECT_EQ(hDev, DEVICE);
    EXPECT_EQ(uiIndex, g_uiAsked++);
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
    const struct
    {
        const char*               pszCase;
        std::vector<ScriptedFpga> aoFpgas;
        KBOOL32                   bExpected;
        KUINT32                   uiAsked;
        TStatus                   eCountStatus = TStatus_OK;
        const char*               pszOutput    = "";
    } aoRows[] = {
        {"no count", {GOOD}, FALSE, 0, TStatus_FAIL},
        {"none", {}, FALSE, 0, TStatus_OK, "No FPGA detected!\n"},
        {"supported", {GOOD}, TRUE, 1},
        {"unknown", {UNKNOWN}, FALSE, 1},
        {"known as not supported: true, and the rest is not examined", {KNOWN, UNKNOWN}, TRUE, 1},
        {"supported, then unknown", {GOOD, UNKNOWN, GOOD}, FALSE, 2},
        {"others are skipped and leave the answer", {GOOD, OTHER_ADDRESS, OTHER_VENDOR}, TRUE, 3},
        {"only others", {OTHER_ADDRESS, OTHER_VENDOR}, FALSE, 2},
        {"a failing record keeps the answer so far", {GOOD, FAILING, UNKNOWN}, TRUE, 2},
        {"positive is no failure", {{3, 0xc3e7, 0xd0, 1, 33, 0, TStatus{1}}}, TRUE, 1, TStatus{1}},
        {"8 bits of the build count", {{3, 0xc3e7, 0xd0, 1, 24, 0x0105}}, TRUE, 1},
    };
    for (const auto& roRow : aoRows)
    {
        g_aoFpgas      = roRow.aoFpgas;
        g_eCountStatus = roRow.eCountStatus;
        g_uiAsked      = 0;
        testing::internal::CaptureStdout();
        EXPECT_EQ(IsFpgaFirmwareSupported(DEVICE), roRow.bExpected) << roRow.pszCase;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), roRow.pszOutput) << roRow.pszCase;
        EXPECT_EQ(g_uiAsked, roRow.uiAsked) << roRow.pszCase;
    }
}
