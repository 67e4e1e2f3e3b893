// The check against a board that answers from a script.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
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

struct ScriptedBoard
{
    std::vector<ScriptedFpga> aoFpgas;
    TStatus                   eCountStatus = TStatus_OK;
    KUINT32                   uiAsked      = 0;
} g_oBoard;

TDEVICE_OBJECT* const DEVICE = reinterpret_cast<TDEVICE_OBJECT*>(&g_oBoard);
}

TStatus TBoard_GetFpgaCount(TDevice_Handle hDev, KUINT32* puiCount)
{
    EXPECT_EQ(hDev, DEVICE);
    *puiCount = static_cast<KUINT32>(g_oBoard.aoFpgas.size());
    return g_oBoard.eCountStatus;
}

TStatus TBoard_GetFpgaInfo(TDevice_Handle hDev, KUINT32 uiIndex, tagTBoard_FpgaInfo* poFpgaInfo)
{
    tagTBoard_FpgaInfo oFresh = {};
    oFresh.uiSize = 84;
    EXPECT_EQ(hDev, DEVICE);
    EXPECT_EQ(uiIndex, g_oBoard.uiAsked++);
    EXPECT_EQ(std::memcmp(poFpgaInfo, &oFresh, sizeof(oFresh)), 0) << "each record starts as zeros and its size";

    const ScriptedFpga& roFpga = g_oBoard.aoFpgas.at(uiIndex);
    std::memset(poFpgaInfo->szName, 'n', sizeof(poFpgaInfo->szName));  // no terminator
    poFpgaInfo->ui16DevID      = roFpga.uiDevId;
    poFpgaInfo->ui16VendorID   = roFpga.uiVendorId;
    poFpgaInfo->uiI2cAddress   = roFpga.uiAddress;
    poFpgaInfo->uiVersionMajor = roFpga.uiMajor;
    poFpgaInfo->uiVersionMinor = roFpga.uiMinor;
    poFpgaInfo->uiVersionBuild = roFpga.uiBuild;
    return roFpga.eStatus;
}

TEST(FirmwareCheck, AnswersByTheLastFpgaExamined)
{
    const ScriptedFpga SUPPORTED = {3, 0xc3e7, 0xd0, 1, 33, 0}, KNOWN = {5, 0xc3e7, 0xd0, 2, 1, 33}, UNKNOWN = {3, 0xc3e7, 0xd0, 1, 33, 7},
                       OTHER_ADDRESS = {3, 0xc3e7, 0xd2, 1, 33, 7}, OTHER_VENDOR = {3, 0x1234, 0xd0, 1, 33, 7},
                       FAILING = {3, 0xc3e7, 0xd0, 1, 33, 0, TStatus_FAIL}, POSITIVE = {3, 0xc3e7, 0xd0, 1, 33, 0, TStatus{1}};
    const struct
    {
        const char*   pszCase;
        ScriptedBoard oBoard;
        KBOOL32       bExpected;
        KUINT32       uiAsked;
        const char*   pszOutput = "";
    } aoRows[] = {
        {"no count", {{SUPPORTED}, TStatus_FAIL}, FALSE, 0},
        {"none", {}, FALSE, 0, "No FPGA detected!\n"},
        {"supported", {{SUPPORTED}}, TRUE, 1},
        {"unknown", {{UNKNOWN}}, FALSE, 1},
        {"known as not supported: true, and the rest is not examined", {{KNOWN, UNKNOWN}}, TRUE, 1},
        {"supported, then unknown", {{SUPPORTED, UNKNOWN, SUPPORTED}}, FALSE, 2},
        {"others are skipped and leave the answer", {{SUPPORTED, OTHER_ADDRESS, OTHER_VENDOR}}, TRUE, 3},
        {"only others", {{OTHER_ADDRESS, OTHER_VENDOR}}, FALSE, 2},
        {"a failing record keeps the answer so far", {{SUPPORTED, FAILING, UNKNOWN}}, TRUE, 2},
        {"a failing record at once", {{FAILING, SUPPORTED}}, FALSE, 1},
        {"what is not negative is no failure", {{POSITIVE}, TStatus{1}}, TRUE, 1},
        {"8 bits of the build count", {{{3, 0xc3e7, 0xd0, 1, 24, 0x0105}}}, TRUE, 1},
        {"every firmware of two devices", {{{0xf, 0xc3e7, 0xd0, 9, 9, 9}, {0x4000, 0xc3e7, 0xd0, 9, 9, 9}}}, TRUE, 2},
    };
    for (const auto& roRow : aoRows)
    {
        g_oBoard = roRow.oBoard;
        testing::internal::CaptureStdout();
        EXPECT_EQ(IsFpgaFirmwareSupported(DEVICE), roRow.bExpected) << roRow.pszCase;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), roRow.pszOutput) << roRow.pszCase;
        EXPECT_EQ(g_oBoard.uiAsked, roRow.uiAsked) << roRow.pszCase;
    }
}
