#include <span>

#include "TestSupport.h"
#include "XDevFpgaInfo.h"

using X       = XDevFpgaInfo;
using Numbers = std::vector<KUINT32>;

constexpr KUINT32 VENDOR = 0xc3e70000, UNKNOWN = 0x13, TOP = 0xffffffff;
const Numbers     QUADHI = {0xc10, 0, 6, 1}, QUADDO = {7, 4}, DVO = {0xc00, 2};  // device codes of the vendor's, as below

static X Fpga(KUINT32 uiCode, KUINT32 uiVersion, KUINT32 uiBridge = 0)
{
    return X(VENDOR | uiCode, uiVersion, uiBridge, FALSE, 0, 0, "");
}

// In the sum every row and its place count: one that is missing, moved or mistyped changes it.
static KUINT32 RegistrySum(const X& roFpga)
{
    KUINT32 uiSum = 0;
    for (const auto& roData : std::span(roFpga.GetFpgaVersionData().Begin(), roFpga.GetFpgaVersionData().End()))
    {
        EXPECT_EQ(roData.bIsKnown, TRUE);
        uiSum = uiSum * 31 + roData.uiFpgaVersion * 2 + (roData.bIsSupported ? 1 : 0);
    }
    return uiSum;
}

TEST(FpgaInfo, DecidesByTheFirstRowThatMatches)
{
    const std::tuple<KUINT32, KUINT32, bool, bool, const char*> aoRows[] = {
        // device, version, supported, known
        {3, 0x12100, true, true, "registered"},
        {3, 0x12101, false, false, "the build counts, and is another"},
        {3, 0x10e99, true, true, "the build does not count: an earlier row of 1.14"},
        {5, 0x20208, true, true, "2.2.27 before 2.2.8"},
        {5, 0x20121, false, true, "known as not supported"},
        {5, 0x20534, false, false, "named, not registered"},
        {0x10, 0x1000463, true, true, "no build, and nothing above the major number"},
        {0x4000, 0x50505, true, true, "not registered, passes"},
        {0xf, 0x11407, true, true, "passes whatever it is"},
        {UNKNOWN, 0x10000, false, false, "no registry"},
        {UNKNOWN, 0x10529, false, true, "but the DVO list"},
    };
    for (const auto& [uiCode, uiVersion, bIsSupported, bIsKnown, pszCase] : aoRows)
        for (bool bIsForced : {true, false})
        {
            const X        oFpga = Fpga(uiCode, uiVersion, 0x20509);
            const CKString oLine = "vesk(4.12.0.16)[0]: (Info) The FPGA version " + oFpga.GetVersionStr() +
                                   " (Bridge 002-005-009) is not known, but the configuration has been set to allow it.\n";
            KBOOL32 bIsFound        = -7;
            X::m_sbForceFpgaSupport = bIsForced;
            const auto fDecide      = [&] { EXPECT_EQ(oFpga.IsSupported(bIsFound), bIsForced || bIsSupported) << pszCase; };
            EXPECT_EQ(OutputOf(fDecide), bIsForced && !bIsSupported ? oLine.c_str() : "") << pszCase;
            EXPECT_EQ(bIsFound, bIsKnown) << pszCase;
        }
}

TEST(FpgaInfo, CapabilitiesChangeAtTheirVersions)
{
    const std::tuple<KBOOL32 (X::*)() const, Numbers, Numbers, Numbers> aoRows[] = {
        // devices, versions without and with
        // clang-format off
        {&X::IsBuildRequired, {8}, {0, 0x301}, {0x302, 0x10529, TOP}},
        {&X::IsBuildRequired, QUADHI, {0, 0x1034d}, {0x1034e, TOP}},
        {&X::IsBuildRequired, QUADDO, {0, 0x629}, {0x62a, TOP}},       {&X::IsBuildRequired, {3}, {0x11205}, {0x11206, TOP}},
        {&X::IsBuildRequired, {5}, {0x2032f}, {0x20330, TOP}},         {&X::IsBuildRequired, {9}, {0x102}, {0x103, TOP}},
        {&X::IsBuildRequired, {0xa, 0xb, 0xc, 0xd, 0xe, 0xf, 0x10}, {0, TOP}, {}},
        {&X::IsBuildRequired, {0x4000, 0xc00, 2, 0x11, 0x12, UNKNOWN}, {}, {0, TOP}},
        {&X::IsGenLockSupported, {5}, {0x10172, 0x1019f}, {0x10173, 0x1019e, 0x101a0, TOP}},
        {&X::IsGenLockSupported, QUADDO, {0x34c, 0x3be, 0x3db}, {0x34d, 0x3bd, 0x3bf, 0x3da, 0x3dc, TOP}},
        {&X::IsGenLockSupported, {3, 0xf, UNKNOWN}, {0, TOP}, {}},
        {&X::IsFrameLockSupported, {5}, {0x2070f}, {0x20710}},  {&X::IsFrameLockSupported, {3}, {0x11962}, {0x11963}},
        {&X::IsFrameLockSupported, {0x11}, {0x4ff}, {0x500}},   {&X::IsFrameLockSupported, {0xe}, {0xb14}, {0xb15}},
        {&X::IsFrameLockSupported, {0x10}, {}, {0, TOP}},       {&X::IsFrameLockSupported, QUADDO, {0, TOP}, {}},
        {&X::IsLvdsJeidaSupported, {0x12}, {0x500}, {0x501}},   {&X::IsLvdsJeidaSupported, {0x10}, {TOP}, {}},
        {&X::GetHdcpSupport, {0xc10, 0, 6, 1, 7, 4, 3, 8, 0x10, 0x12, 0xc00, 2}, {}, {0, TOP}},
        {&X::GetHdcpSupport, {9}, {0x1062a}, {0x1062b}},
        {&X::GetHdcpSupport, {5, 0xa, 0xb, 0xc, 0xd, 0xe, 0xf, 0x11, 0x4000, UNKNOWN}, {0, TOP}, {0x10529, 0x107ad}},
        {&X::IsOldBrgModel, QUADHI, {0x1001b}, {0x1001a, 0x10529}}, {&X::IsOldBrgModel, DVO, {0x2006b}, {0x2006a}},
        {&X::IsOldBrgModel, {7, 8}, {0}, {0x1093d}},
        // clang-format on
    };
    for (const auto& [Holds, auiCodes, auiWithout, auiWith] : aoRows)
        for (KUINT32 uiCode : auiCodes)
        {
            SCOPED_TRACE(testing::Message() << "versions " << testing::PrintToString(auiWith) << ", device " << uiCode);
            for (KUINT32 uiVersion : auiWithout) EXPECT_FALSE((Fpga(uiCode, uiVersion).*Holds)()) << uiVersion;
            for (KUINT32 uiVersion : auiWith) EXPECT_TRUE((Fpga(uiCode, uiVersion).*Holds)()) << uiVersion;
        }
    EXPECT_FALSE(Fpga(0, TOP, 0x20508).IsSubFieldModeSupported() || Fpga(0, TOP, 0x20700).IsInterruptStatusSupported());
    EXPECT_TRUE(Fpga(0, 0, 0x20509).IsSubFieldModeSupported() && Fpga(0, 0, 0x20701).IsInterruptStatusSupported());
    const auto CableLock = [](KUINT32 uiCode, KUINT32 uiVersion, int iValue) {
        return Fpga(uiCode, uiVersion).IsCableLockDriveValueSupported(iValue);
    };
    EXPECT_EQ(std::pair(CableLock(0x11, 0x10100, 5), CableLock(0x11, 0x10100, 0)), std::pair(FALSE, TRUE));
    EXPECT_EQ(std::tuple(CableLock(0x11, 0x10101, 5), CableLock(0x10, 0x10101, 5)), std::tuple(TRUE, 5));
}

#define IS(name) &X::Is##name, &X::Is##name

TEST(FpgaInfo, TellsDevicesApart)
{
    const struct
    {
        KBOOL32 (X::*Is)() const;
        KBOOL32 (*IsId)(KUINT32);
        Numbers auiCodes;
        KUINT32 uiRegistrySum, uiBandwidth = 0x41a00000, uiHdcpKeys = 0, uiHdcpValue = 0;
    } aoRows[] = {
        // clang-format off
        {IS(Proto1Dvo), DVO, 0xe6d68ee8, 0x5dc00000},     {IS(Proto1FpgaPort), {8}, 0x3d6adcaf, 0x5dc00000},
        {IS(QuadHdmiIn), QUADHI, 0x1bb3b2cb, 0x5dc00000}, {IS(QuadDPOut), QUADDO, 0xfe956c38, 0x5dc00000},
        {IS(IpKvmInF0), {0xa}, 0x01a0f409, 0x41a00000, 1, 0x7ff000},   {IS(TarnIn), {3}, 0x2d7d7f30},
        {IS(IpKvmOutF0), {0xc}, 0x93aec43c, 0x41a00000, 1, 0x7ff000},  {IS(TarnOut), {5}, 0x6749275c},
        {IS(TarnInDp12), {0xe}, 0xcf899740, 0x41a00000, 2, 0x7ff000},  {IS(Heron), {0xf}, 0x87ed3d66},
        {IS(Sorrel1Dec), {0x10}, 0xf80b0df6, 0x41a00000, 6, 0xff0000}, {IS(TarnSdi), {0x11}, 0x2039a6fa},
        {IS(IpKvmInF1), {0xb}, 0xe290913c},  {IS(OpalUHD), {0x4000}, 0x000400d7},    {IS(Sorrel1), {9}, 0x8429f7dc},
        {IS(IpKvmOutF1), {0xd}, 0x7c646a2a}, {IS(Sorrel2Enc), {0x12}, 0x002693a9},
    };  // clang-format on
    constexpr unsigned short aui16Keys[] = {0x170, 0x170, 0x170, 0x170, 0x30, 0x30};
    for (const auto& roDevice : aoRows)
        for (KUINT32 uiCode : roDevice.auiCodes)
        {
            SCOPED_TRACE(testing::Message() << std::hex << uiCode);
            const X oFpga = Fpga(uiCode, 0);
            for (const auto& roRow : aoRows)
                EXPECT_TRUE((oFpga.*roRow.Is)() == roRow.IsId(VENDOR | uiCode) &&
                            (oFpga.*roRow.Is)() == (&roRow == &roDevice))
                    << "row " << &roRow - aoRows;
            EXPECT_EQ(RegistrySum(oFpga), roDevice.uiRegistrySum);
            EXPECT_TRUE(oFpga.IsMultiBoardsSyncSupported() == (uiCode == 0xf));
            EXPECT_EQ(oFpga.IsProto1(), &roDevice < aoRows + 2);
            EXPECT_EQ(oFpga.GetPortBandwidth(), roDevice.uiBandwidth);
            EXPECT_EQ(Fpga(uiCode, 0x10529).GetPortBandwidth(), 0x5dc00000u);
            X::AddressArray aui16Found;
            aui16Found.Add(1);
            EXPECT_EQ(oFpga.GetHdcpKeyAddress(aui16Found), roDevice.uiHdcpValue);
            ASSERT_EQ(aui16Found.GetCount(), roDevice.uiHdcpKeys);
            EXPECT_TRUE(std::equal(aui16Found.Begin(), aui16Found.End(), aui16Keys));
        }

    // Four versions add the DVO's list to that of any device.
    for (KUINT32 uiVersion : Numbers{0x1093d, 0x107ad, 0x105a7, 0x10529})
        EXPECT_EQ(RegistrySum(Fpga(UNKNOWN, uiVersion)), aoRows[0].uiRegistrySum) << std::hex << uiVersion;
    EXPECT_EQ(RegistrySum(Fpga(2, 0x1093d)), aoRows[0].uiRegistrySum) << "once";
    EXPECT_EQ(RegistrySum(Fpga(8, 0x1093d)), 0xefba3ed9) << "behind its own";
    EXPECT_EQ(RegistrySum(Fpga(3, 0x10529)), 0xc8bcba18) << "before its own";
    const X oNone;
    EXPECT_EQ(
        (std::array<KUINT32, 6>{oNone.GetVersion(), oNone.GetBridgeVersion(), oNone.GetBusIndex(), oNone.GetI2cAddress(),
                                oNone.m_uiFpgaDevId, KUINT32(oNone.IsTimeConversionSupported())}),
        (std::array<KUINT32, 6>{}));
    for (const X& roEmpty : {Fpga(UNKNOWN, 0x10528), X()}) EXPECT_EQ(roEmpty.GetFpgaVersionData().GetSize(), 0);
}

TEST(FpgaInfo, ReturnsWhatItWasMadeOf)
{
    const CKString oName('n', 65);
    const X        oFpga(0xc3e70006, E_FPGA_QUADHI_01_005_013, E_BRIDGE_VER_02_005_009, 3, 4, 0xd0, oName);
    EXPECT_TRUE(oFpga.GetName().c_str() == oName.c_str() && oFpga.IsTimeConversionSupported() == 3) << "the name is shared";
    EXPECT_EQ(oFpga.GetVersionStr() + ' ' + oFpga.GetBridgeVersionStr(), "001-005-013 002-005-009");
    EXPECT_EQ(std::tuple(oFpga.GetVersion(), oFpga.GetBridgeVersion(), oFpga.GetBusIndex(), oFpga.GetI2cAddress()),
              std::tuple(0x1050du, 0x20509u, 4u, 0xd0u));

    tagTBoard_FpgaInfo oInfo = {85, {}, 0, 0, 0, 0, 0, 0, 0}, oExpected = oInfo;
    const auto         Returns = [&](TStatus eStatus) {
        return oFpga.GetFpgaBoardInfo(oInfo) == eStatus && std::memcmp(&oInfo, &oExpected, sizeof(oInfo)) == 0;
    };
    EXPECT_TRUE(Returns(TStatus_INVALID_PARAM)) << "and writes nothing";
    oExpected = {84, {}, 6, 0xc3e7, 4, 0xd0, 1, 5, 13};
    std::memset(oExpected.szName, 'n', 64);
    oInfo.uiSize = 84;
    EXPECT_TRUE(Returns(TStatus_OK));
    X(0, 0, 0, 0, 0, 0, "ab").GetFpgaBoardInfo(oInfo);
    EXPECT_EQ(std::memcmp(oInfo.szName, "abn", 3), 0) << "no terminator is added";
}
