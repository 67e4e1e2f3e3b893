// The check against a board that answers from a script.
#include "FpgaFirmwareCheck.h"
#include "TestSupport.h"

using Script = std::vector<std::pair<tagTBoard_FpgaInfo, TStatus>>;

static Script                g_aoFpgas;
static TStatus               g_eCountStatus;
static KUINT32               g_uiAsked;
static TDEVICE_OBJECT* const DEVICE = reinterpret_cast<TDEVICE_OBJECT*>(&g_aoFpgas);

TStatus TBoard_GetFpgaCount(TDevice_Handle hDev, KUINT32* puiCount)
{
    EXPECT_EQ(hDev, DEVICE);
    if (!g_aoFpgas.empty()) *puiCount = static_cast<KUINT32>(g_aoFpgas.size());
    return g_eCountStatus;
}

TStatus TBoard_GetFpgaInfo(TDevice_Handle hDev, KUINT32 uiIndex, tagTBoard_FpgaInfo* poFpgaInfo)
{
    const tagTBoard_FpgaInfo oFresh = {84, {}, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(std::memcmp(poFpgaInfo, &oFresh, sizeof(oFresh)), 0) << "each record starts as zeros and its size";
    EXPECT_TRUE(hDev == DEVICE && uiIndex == g_uiAsked++);
    *poFpgaInfo = g_aoFpgas.at(uiIndex).first;
    std::memset(poFpgaInfo->szName, 'n', sizeof(poFpgaInfo->szName));  // no terminator
    return g_aoFpgas.at(uiIndex).second;
}

TEST(FirmwareCheck, AnswersByTheLastFpgaExamined)
{
    const auto Fpga = [](KUINT16 uiDevId, KUINT8 uiMajor, KUINT8 uiMinor, KUINT16 uiBuild, TStatus eStatus = TStatus_OK,
                         KUINT16 uiVendorId = 0xc3e7, KUINT32 uiAddress = 0xd0) {
        return std::pair(tagTBoard_FpgaInfo{84, {}, uiDevId, uiVendorId, 0, uiAddress, uiMajor, uiMinor, uiBuild}, eStatus);
    };
    const auto GOOD = Fpga(3, 1, 33, 0), KNOWN = Fpga(5, 2, 1, 33), UNKNOWN = Fpga(3, 1, 33, 7);
    const auto FAILING = Fpga(3, 1, 33, 0, TStatus_FAIL), POSITIVE = Fpga(3, 1, 33, 0, TStatus{1});
    const auto OTHER_ADDRESS = Fpga(3, 1, 33, 7, TStatus_OK, 0xc3e7, 0xd2), OTHER_VENDOR = Fpga(3, 1, 33, 7, TStatus_OK, 1);
    const std::tuple<const char*, Script, TStatus, KBOOL32, KUINT32> aoRows[] = {
        // ..., result, asked
        {"no count", {GOOD}, TStatus_FAIL, FALSE, 0},
        {"none", {}, TStatus_OK, FALSE, 0},
        {"known as not supported: true, and the rest is not examined", {KNOWN, UNKNOWN}, TStatus_OK, TRUE, 1},
        {"supported, then unknown", {GOOD, UNKNOWN, GOOD}, TStatus_OK, FALSE, 2},
        {"others are skipped and leave the answer", {GOOD, OTHER_ADDRESS, OTHER_VENDOR}, TStatus_OK, TRUE, 3},
        {"only others", {OTHER_ADDRESS, OTHER_VENDOR}, TStatus_OK, FALSE, 2},
        {"a failing record keeps the answer so far", {GOOD, FAILING, UNKNOWN}, TStatus_OK, TRUE, 2},
        {"positive is no failure", {POSITIVE}, TStatus{1}, TRUE, 1},
        {"8 bits of the build count", {Fpga(3, 1, 24, 0x0105)}, TStatus_OK, TRUE, 1},
    };
    for (const auto& [pszCase, aoFpgas, eCountStatus, bExpected, uiAsked] : aoRows)
    {
        g_aoFpgas = aoFpgas, g_eCountStatus = eCountStatus, g_uiAsked = 0;
        KBOOL32 bSupported = -7;
        EXPECT_EQ(OutputOf([&] { bSupported = IsFpgaFirmwareSupported(DEVICE); }),
                  aoFpgas.empty() ? "No FPGA detected!\n" : "");
        EXPECT_TRUE(bSupported == bExpected && g_uiAsked == uiAsked) << pszCase;
    }

    const tagTBoard_FpgaInfo oInfo  = {84, "without a bridge", 1, 2, 3, 4, 5, 6, 7};
    tagTBoard_FpgaInfo       oFound = {84, "", 0, 0, 0, 0, 0, 0, 0};
    ToFpgaInfo(oInfo).GetFpgaBoardInfo(oFound);
    EXPECT_TRUE(std::memcmp(&oFound, &oInfo, sizeof(oInfo)) == 0 && ToFpgaInfo(oInfo).GetBridgeVersion() == 0);
}
