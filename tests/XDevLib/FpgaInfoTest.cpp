#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "XDevFpgaInfo.h"

namespace
{
using X       = XDevFpgaInfo;
using Numbers = std::vector<KUINT32>;

X Fpga(KUINT32 uiDevId, KUINT32 uiVersion, KUINT32 uiBridge = 0)
{
    return X(uiDevId, uiVersion, uiBridge, FALSE, 0, 0, "");
}

const Numbers     QUADHI = {0xc3e70c10, 0xc3e70000, 0xc3e70006, 0xc3e70001}, QUADDO = {0xc3e70007, 0xc3e70004};
const Numbers     DVO = {0xc3e70c00, 0xc3e70002};
constexpr KUINT32 UNKNOWN = 0xc3e70013, TOP = 0xffffffff;
}

TEST(FpgaInfo, DecidesByTheFirstRowThatMatches)
{
    const struct
    {
        KUINT32     uiDevId, uiVersion;
        bool        bIsSupported, bIsKnown;
        const char* pszCase;
    } aoRows[] = {
        {0xc3e70003, 0x12100, true, true, "registered"},
        {0xc3e70003, 0x12107, false, false, "the build counts, and is another"},
        {0xc3e70003, 0x10e99, true, true, "the build does not count: an earlier row of 1.14"},
        {0xc3e70005, 0x20208, true, true, "2.2.27 before 2.2.8"},
        {0xc3e70005, 0x20121, false, true, "known as not supported"},
        {0xc3e70005, 0x20534, false, false, "named, not registered"},
        {0xc3e70010, 0x1000463, true, true, "no build, and nothing above the major number"},
        {0xc3e74000, 0x50505, true, true, "not registered, passes"},
        {0xc3e7000f, 0x11407, true, true, "passes whatever it is"},
        {UNKNOWN, 0x10000, false, false, "no registry"},
        {UNKNOWN, 0x10529, false, true, "but the DVO list"},
    };
    const std::string MESSAGE = " (Bridge 002-005-009) is not known, but the configuration has been set to allow it.\n";
    for (const auto& roRow : aoRows)
    {
        for (bool bIsForced : {true, false})
        {
            KBOOL32 bIsKnown        = -7;
            X::m_sbForceFpgaSupport = bIsForced;
            testing::internal::CaptureStdout();
            const bool        bIsSupported = Fpga(roRow.uiDevId, roRow.uiVersion, 0x20509).IsSupported(bIsKnown);
            const std::string oOutput      = testing::internal::GetCapturedStdout();
            EXPECT_EQ(bIsSupported, bIsForced || roRow.bIsSupported) << roRow.pszCase;
            EXPECT_EQ(bIsKnown, roRow.bIsKnown) << roRow.pszCase;
            EXPECT_EQ(oOutput.ends_with(MESSAGE), bIsForced && !roRow.bIsSupported) << roRow.pszCase;
        }
    }
}

TEST(FpgaInfo, CapabilitiesChangeAtTheirVersions)
{
    const struct
    {
        KBOOL32 (X::*Holds)() const;
        Numbers auiDevIds, auiWithout, auiWith;  // versions
    } aoRows[] = {
        {&X::IsBuildRequired, {0xc3e70008}, {0, 0x301}, {0x302, 0x10529, TOP}},
        {&X::IsBuildRequired, QUADHI, {0, 0x1034d}, {0x1034e, TOP}},
        {&X::IsBuildRequired, QUADDO, {0, 0x629}, {0x62a, TOP}},
        {&X::IsBuildRequired, {0xc3e70003}, {0x11205}, {0x11206, TOP}},
        {&X::IsBuildRequired, {0xc3e70005}, {0x2032f}, {0x20330, TOP}},
        {&X::IsBuildRequired, {0xc3e70009}, {0x102}, {0x103, TOP}},
        {&X::IsBuildRequired, {0xc3e7000a, 0xc3e7000b, 0xc3e7000c, 0xc3e7000d}, {0, TOP}, {}},
        {&X::IsBuildRequired, {0xc3e7000e, 0xc3e7000f, 0xc3e70010}, {0, TOP}, {}},
        {&X::IsBuildRequired, {0xc3e74000, 0xc3e70c00, 0xc3e70002, 0xc3e70011, 0xc3e70012, UNKNOWN}, {}, {0, TOP}},
        {&X::IsGenLockSupported, {0xc3e70005}, {0x10172, 0x1019f}, {0x10173, 0x1019e, 0x101a0, TOP}},
        {&X::IsGenLockSupported, QUADDO, {0x34c, 0x3be, 0x3db}, {0x34d, 0x3bd, 0x3bf, 0x3da, 0x3dc, TOP}},
        {&X::IsGenLockSupported, {0xc3e70003, 0xc3e7000f, UNKNOWN}, {0, TOP}, {}},
        {&X::IsFrameLockSupported, {0xc3e70005}, {0x2070f}, {0x20710}},
        {&X::IsFrameLockSupported, {0xc3e70003}, {0x11962}, {0x11963}},
        {&X::IsFrameLockSupported, {0xc3e70011}, {0x4ff}, {0x500}},
        {&X::IsFrameLockSupported, {0xc3e7000e}, {0xb14}, {0xb15}},
        {&X::IsFrameLockSupported, {0xc3e70010}, {}, {0, TOP}},
        {&X::IsFrameLockSupported, QUADDO, {0, TOP}, {}},
        {&X::IsLvdsJeidaSupported, {0xc3e70012}, {0x500}, {0x501}},
        {&X::IsLvdsJeidaSupported, {0xc3e70010}, {TOP}, {}},
        {&X::GetHdcpSupport, QUADHI, {}, {0, TOP}},
        {&X::GetHdcpSupport, QUADDO, {}, {0, TOP}},
        {&X::GetHdcpSupport, {0xc3e70003, 0xc3e70008, 0xc3e70010, 0xc3e70012, 0xc3e70c00, 0xc3e70002}, {}, {0, TOP}},
        {&X::GetHdcpSupport, {0xc3e70009}, {0x1062a}, {0x1062b}},
        {&X::GetHdcpSupport, {0xc3e70005, 0xc3e7000a, 0xc3e7000b, 0xc3e7000c, 0xc3e7000d}, {0, TOP}, {0x10529}},
        {&X::GetHdcpSupport, {0xc3e7000e, 0xc3e7000f, 0xc3e70011, 0xc3e74000, UNKNOWN}, {0, TOP}, {0x107ad}},
        {&X::IsOldBrgModel, QUADHI, {0x1001b}, {0x1001a, 0x10529}},
        {&X::IsOldBrgModel, DVO, {0x2006b}, {0x2006a}},
        {&X::IsOldBrgModel, {0xc3e70007, 0xc3e70008}, {0}, {0x1093d}},
    };
    for (const auto& roRow : aoRows)
    {
        for (KUINT32 uiDevId : roRow.auiDevIds)
        {
            SCOPED_TRACE(testing::Message() << "row " << &roRow - aoRows << std::hex << ", device " << uiDevId);
            for (KUINT32 uiVersion : roRow.auiWithout)
                EXPECT_FALSE((Fpga(uiDevId, uiVersion).*roRow.Holds)()) << std::hex << uiVersion;
            for (KUINT32 uiVersion : roRow.auiWith)
                EXPECT_TRUE((Fpga(uiDevId, uiVersion).*roRow.Holds)()) << std::hex << uiVersion;
        }
    }
    EXPECT_FALSE(Fpga(0, TOP, 0x20508).IsSubFieldModeSupported() || Fpga(0, TOP, 0x20700).IsInterruptStatusSupported());
    EXPECT_TRUE(Fpga(0, 0, 0x20509).IsSubFieldModeSupported() && Fpga(0, 0, 0x20701).IsInterruptStatusSupported());
    EXPECT_EQ(Fpga(0xc3e70011, 0x10100).IsCableLockDriveValueSupported(5), FALSE);
    EXPECT_EQ(Fpga(0xc3e70011, 0x10100).IsCableLockDriveValueSupported(0), TRUE);
    EXPECT_EQ(Fpga(0xc3e70011, 0x10101).IsCableLockDriveValueSupported(5), TRUE);
    EXPECT_EQ(Fpga(0xc3e70010, 0x10101).IsCableLockDriveValueSupported(5), 5);
}

TEST(FpgaInfo, TellsDevicesApart)
{
    const struct
    {
        KBOOL32 (X::*Is)() const;
        KBOOL32 (*IsId)(KUINT32);
        Numbers auiDevIds;
        KUINT32 uiBandwidth = 0x41a00000, uiHdcpKeys = 0, uiHdcpValue = 0;
    } aoRows[] = {
        {&X::IsProto1Dvo, &X::IsProto1Dvo, DVO, 0x5dc00000},
        {&X::IsProto1FpgaPort, &X::IsProto1FpgaPort, {0xc3e70008}, 0x5dc00000},
        {&X::IsQuadHdmiIn, &X::IsQuadHdmiIn, QUADHI, 0x5dc00000},
        {&X::IsQuadDPOut, &X::IsQuadDPOut, QUADDO, 0x5dc00000},
        {&X::IsTarnIn, &X::IsTarnIn, {0xc3e70003}},
        {&X::IsTarnOut, &X::IsTarnOut, {0xc3e70005}},
        {&X::IsOpalUHD, &X::IsOpalUHD, {0xc3e74000}},
        {&X::IsSorrel1, &X::IsSorrel1, {0xc3e70009}},
        {&X::IsIpKvmInF0, &X::IsIpKvmInF0, {0xc3e7000a}, 0x41a00000, 1, 0x7ff000},
        {&X::IsIpKvmInF1, &X::IsIpKvmInF1, {0xc3e7000b}},
        {&X::IsIpKvmOutF0, &X::IsIpKvmOutF0, {0xc3e7000c}, 0x41a00000, 1, 0x7ff000},
        {&X::IsIpKvmOutF1, &X::IsIpKvmOutF1, {0xc3e7000d}},
        {&X::IsTarnInDp12, &X::IsTarnInDp12, {0xc3e7000e}, 0x41a00000, 2, 0x7ff000},
        {&X::IsHeron, &X::IsHeron, {0xc3e7000f}},
        {&X::IsSorrel1Dec, &X::IsSorrel1Dec, {0xc3e70010}, 0x41a00000, 6, 0xff0000},
        {&X::IsTarnSdi, &X::IsTarnSdi, {0xc3e70011}},
        {&X::IsSorrel2Enc, &X::IsSorrel2Enc, {0xc3e70012}},
    };
    constexpr unsigned short aui16Keys[] = {0x170, 0x170, 0x170, 0x170, 0x30, 0x30};
    for (const auto& roDevice : aoRows)
    {
        for (KUINT32 uiDevId : roDevice.auiDevIds)
        {
            SCOPED_TRACE(testing::Message() << std::hex << uiDevId);
            const X oFpga = Fpga(uiDevId, 0);
            for (const auto& roRow : aoRows)
            {
                EXPECT_EQ((oFpga.*roRow.Is)(), &roRow == &roDevice) << "row " << &roRow - aoRows;
                EXPECT_EQ(roRow.IsId(uiDevId), &roRow == &roDevice) << "row " << &roRow - aoRows;
            }
            EXPECT_EQ(oFpga.IsMultiBoardsSyncSupported(), uiDevId == 0xc3e7000f);
            EXPECT_EQ(oFpga.IsProto1(), &roDevice < aoRows + 2);
            EXPECT_EQ(oFpga.GetPortBandwidth(), roDevice.uiBandwidth);
            EXPECT_EQ(Fpga(uiDevId, 0x10529).GetPortBandwidth(), 0x5dc00000u);
            X::AddressArray aui16Found;
            aui16Found.Add(1);
            EXPECT_EQ(oFpga.GetHdcpKeyAddress(aui16Found), roDevice.uiHdcpValue);
            ASSERT_EQ(aui16Found.GetCount(), roDevice.uiHdcpKeys);
            EXPECT_TRUE(std::equal(aui16Found.Begin(), aui16Found.End(), aui16Keys));
        }
    }
}

TEST(FpgaInfo, ReturnsWhatItWasMadeOf)
{
    const CKString oName('n', 65);
    const X        oFpga(0xc3e70006, E_FPGA_QUADHI_01_005_013, E_BRIDGE_VER_OLD, 3, 4, 0xd0, oName);
    EXPECT_EQ(oFpga.GetName().c_str(), oName.c_str()) << "the name is shared";
    EXPECT_EQ(oFpga.GetVersionStr() + ' ' + oFpga.GetBridgeVersionStr(), "001-005-013 000-000-000");
    EXPECT_EQ(oFpga.IsTimeConversionSupported(), 3);

    tagTBoard_FpgaInfo oInfo = {85, {}, 0, 0, 0, 0, 0, 0, 0}, oExpected = oInfo;
    EXPECT_EQ(oFpga.GetFpgaBoardInfo(oInfo), TStatus_INVALID_PARAM);
    EXPECT_EQ(std::memcmp(&oInfo, &oExpected, sizeof(oInfo)), 0);
    oExpected = {84, {}, 6, 0xc3e7, 4, 0xd0, 1, 5, 13};
    std::memset(oExpected.szName, 'n', 64);
    oInfo.uiSize = 84;
    EXPECT_EQ(oFpga.GetFpgaBoardInfo(oInfo), TStatus_OK);
    EXPECT_EQ(std::memcmp(&oInfo, &oExpected, sizeof(oInfo)), 0);
    X(0, 0, 0, 0, 0, 0, "ab").GetFpgaBoardInfo(oInfo);
    EXPECT_EQ(std::memcmp(oInfo.szName, "abn", 3), 0) << "no terminator is added";
}
