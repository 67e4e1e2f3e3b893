#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "XDevFpgaInfo.h"

namespace
{
XDevFpgaInfo Fpga(KUINT32 uiDevId, KUINT32 uiVersion, KUINT32 uiBridgeVersion = 0)
{
    return XDevFpgaInfo(uiDevId, uiVersion, uiBridgeVersion, FALSE, 0, 0, "");
}

constexpr KUINT32 UNKNOWN_DEVICE = 0xc3e70013;

constexpr KUINT32 ALL_DEVICES[] = {
    0xc3e70c00, 0xc3e70002, 0xc3e70008, 0xc3e70c10, 0xc3e70000, 0xc3e70006, 0xc3e70001, 0xc3e70007,
    0xc3e70004, 0xc3e70003, 0xc3e70005, 0xc3e74000, 0xc3e70009, 0xc3e7000a, 0xc3e7000b, 0xc3e7000c,
    0xc3e7000d, 0xc3e7000e, 0xc3e7000f, 0xc3e70010, 0xc3e70011, 0xc3e70012, UNKNOWN_DEVICE,
};
}

TEST(FpgaInfo, DecidesByTheFirstRowThatMatches)
{
    const struct
    {
        KUINT32 uiDevId, uiVersion;
        KBOOL32 bIsSupported, bIsKnown;
        const char* pszCase;
    } aoRows[] = {
        {E_FPGA_DEVID_TARN_IN, 0x12100, 1, 1, "registered"},
        {E_FPGA_DEVID_TARN_IN, 0x12107, 0, 0, "the build counts, and is another"},
        {E_FPGA_DEVID_TARN_IN, 0x10e99, 1, 1, "the build does not count: an earlier row of 1.14"},
        {E_FPGA_DEVID_TARN_IN, 0x10cff, 0, 1, "1.12 is not supported, any build"},
        {E_FPGA_DEVID_TARN_IN, 0x11205, 1, 1, "the last version whose build does not count"},
        {E_FPGA_DEVID_TARN_OUT, 0x20208, 1, 1, "2.2.27 before 2.2.8"},
        {E_FPGA_DEVID_TARN_OUT, 0x20121, 0, 1, "known as not supported"},
        {E_FPGA_DEVID_TARN_OUT, 0x20534, 0, 0, "named, not registered"},
        {E_FPGA_DEVID_SORREL1_DEC, 0x00463, 1, 1, "never counts"},
        {E_FPGA_DEVID_SORREL1_DEC, 0x1000463, 1, 1, "nothing above the major number counts"},
        {E_FPGA_DEVID_PROTO1_DVO, 0x20448, 0, 0, "always counts"},
        {E_FPGA_DEVID_OPAL_UHD, 0x2006b, 1, 1, "registered"},
        {E_FPGA_DEVID_OPAL_UHD, 0x50505, 1, 1, "not registered, passes"},
        {E_FPGA_DEVID_HERON, 0x11407, 1, 1, "anything passes"},
        {UNKNOWN_DEVICE, 0x10000, 0, 0, "no registry"},
        {UNKNOWN_DEVICE, 0x10529, 0, 1, "but the DVO list"},
    };
    for (const auto& roRow : aoRows)
    {
        for (KBOOL32 bForced : {FALSE, TRUE})
        {
            XDevFpgaInfo::m_sbForceFpgaSupport = bForced;
            testing::internal::CaptureStdout();
            KBOOL32       bIsKnown     = -7;
            const KBOOL32 bIsSupported = Fpga(roRow.uiDevId, roRow.uiVersion, 0x20509).IsSupported(bIsKnown);
            const auto    oMessage     = testing::internal::GetCapturedStdout();
            EXPECT_EQ(bIsSupported, bForced || roRow.bIsSupported) << roRow.pszCase;
            EXPECT_EQ(bIsKnown, roRow.bIsKnown) << roRow.pszCase;
            const bool bIsSaid = oMessage.find(" is not known, but the configuration has been set to allow it.\n") != oMessage.npos;
            EXPECT_EQ(bIsSaid, bForced && !roRow.bIsSupported) << roRow.pszCase << ": " << oMessage;
            EXPECT_EQ(oMessage.find("(Bridge 002-005-009)") != oMessage.npos, bIsSaid) << oMessage;
        }
    }
    XDevFpgaInfo::m_sbForceFpgaSupport = FALSE;
}

// Rules with a threshold: the last version without and the first one with, or one number where that never changes.
TEST(FpgaInfo, CapabilitiesChangeAtTheirVersions)
{
    using Predicate = KBOOL32 (XDevFpgaInfo::*)() const;
    const Predicate Build = &XDevFpgaInfo::IsBuildRequired, Gen = &XDevFpgaInfo::IsGenLockSupported,
                    Frame = &XDevFpgaInfo::IsFrameLockSupported, Jeida = &XDevFpgaInfo::IsLvdsJeidaSupported,
                    Hdcp = &XDevFpgaInfo::GetHdcpSupport, OldBridge = &XDevFpgaInfo::IsOldBrgModel;
    constexpr KUINT32 TOP = 0xffffffff;
    struct Row
    {
        Predicate            Holds;
        std::vector<KUINT32> auiDevIds;
        std::vector<KUINT32> auiWithout, auiWith;
    };
    const std::vector<KUINT32> QUADHI = {0xc3e70c10, 0xc3e70000, 0xc3e70006, 0xc3e70001}, QUADDO = {0xc3e70007, 0xc3e70004};
    const Row aoRows[] = {
        {Build, {0xc3e70008}, {0, 0x301}, {0x302, 0x10529, TOP}},
        {Build, QUADHI, {0, 0x1034d}, {0x1034e, TOP}},
        {Build, QUADDO, {0, 0x629}, {0x62a, TOP}},
        {Build, {0xc3e70003}, {0x11205}, {0x11206, TOP}},
        {Build, {0xc3e70005}, {0x2032f}, {0x20330, TOP}},
        {Build, {0xc3e70009}, {0x102}, {0x103, TOP}},
        {Build, {0xc3e7000e, 0xc3e7000a, 0xc3e7000b, 0xc3e7000c, 0xc3e7000d, 0xc3e7000f, 0xc3e70010}, {0, TOP}, {}},
        {Build, {0xc3e74000, 0xc3e70c00, 0xc3e70002, 0xc3e70011, 0xc3e70012, UNKNOWN_DEVICE}, {}, {0, TOP}},
        {Gen, {0xc3e70005}, {0x10172, 0x1019f}, {0x10173, 0x1019e, 0x101a0, TOP}},
        {Gen, QUADDO, {0x34c, 0x3be, 0x3db}, {0x34d, 0x3bd, 0x3bf, 0x3da, 0x3dc, TOP}},
        {Gen, {0xc3e70003, 0xc3e7000f, UNKNOWN_DEVICE}, {0, TOP}, {}},
        {Frame, {0xc3e70005}, {0x2070f}, {0x20710}},
        {Frame, {0xc3e70003}, {0x11962}, {0x11963}},
        {Frame, {0xc3e70011}, {0x4ff}, {0x500}},
        {Frame, {0xc3e7000e}, {0xb14}, {0xb15}},
        {Frame, {0xc3e70010}, {}, {0, TOP}},
        {Frame, QUADDO, {0, TOP}, {}},
        {Jeida, {0xc3e70012}, {0x500}, {0x501}},
        {Jeida, {0xc3e70010}, {TOP}, {}},
        {Hdcp, QUADHI, {}, {0, TOP}},
        {Hdcp, {0xc3e70007, 0xc3e70004, 0xc3e70003, 0xc3e70008, 0xc3e70010, 0xc3e70012, 0xc3e70c00, 0xc3e70002}, {}, {0, TOP}},
        {Hdcp, {0xc3e70009}, {0x1062a}, {0x1062b}},
        {Hdcp, {0xc3e70005, 0xc3e7000a, 0xc3e7000b, 0xc3e7000c, 0xc3e7000d, 0xc3e7000e, 0xc3e7000f, 0xc3e70011, 0xc3e74000}, {0, TOP}, {0x10529}},
        {OldBridge, QUADHI, {0x1001b}, {0x1001a, 0x10529}},
        {OldBridge, {0xc3e70c00, 0xc3e70002}, {0x2006b}, {0x2006a}},
        {OldBridge, {0xc3e70007, 0xc3e70008}, {0}, {0x1093d}},
    };
    for (const Row& roRow : aoRows)
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
    EXPECT_FALSE(Fpga(0, TOP, 0x20508).IsSubFieldModeSupported());
    EXPECT_TRUE(Fpga(0, 0, 0x20509).IsSubFieldModeSupported());
    EXPECT_FALSE(Fpga(0, TOP, 0x20700).IsInterruptStatusSupported());
    EXPECT_TRUE(Fpga(0, 0, 0x20701).IsInterruptStatusSupported());
    EXPECT_EQ(Fpga(0xc3e70011, 0x10100).IsCableLockDriveValueSupported(5), FALSE);
    EXPECT_EQ(Fpga(0xc3e70011, 0x10100).IsCableLockDriveValueSupported(0), TRUE);
    EXPECT_EQ(Fpga(0xc3e70011, 0x10101).IsCableLockDriveValueSupported(5), TRUE);
    EXPECT_EQ(Fpga(0xc3e70010, 0x10101).IsCableLockDriveValueSupported(5), 5);
    EXPECT_EQ(Fpga(0xc3e70010, 0).IsCableLockDriveValueSupported(0), 0);
}

TEST(FpgaInfo, TellsDevicesApart)
{
    using X = XDevFpgaInfo;
    const struct
    {
        KBOOL32 (X::*Is)() const;
        KBOOL32 (*IsId)(KUINT32);
        std::vector<KUINT32> auiDevIds;
    } aoRows[] = {
        {&X::IsProto1FpgaPort, &X::IsProto1FpgaPort, {0xc3e70008}},
        {&X::IsTarnIn, &X::IsTarnIn, {0xc3e70003}},
        {&X::IsTarnInDp12, &X::IsTarnInDp12, {0xc3e7000e}},
        {&X::IsTarnOut, &X::IsTarnOut, {0xc3e70005}},
        {&X::IsTarnSdi, &X::IsTarnSdi, {0xc3e70011}},
        {&X::IsOpalUHD, &X::IsOpalUHD, {0xc3e74000}},
        {&X::IsSorrel1, &X::IsSorrel1, {0xc3e70009}},
        {&X::IsSorrel1Dec, &X::IsSorrel1Dec, {0xc3e70010}},
        {&X::IsSorrel2Enc, &X::IsSorrel2Enc, {0xc3e70012}},
        {&X::IsIpKvmInF0, &X::IsIpKvmInF0, {0xc3e7000a}},
        {&X::IsIpKvmInF1, &X::IsIpKvmInF1, {0xc3e7000b}},
        {&X::IsIpKvmOutF0, &X::IsIpKvmOutF0, {0xc3e7000c}},
        {&X::IsIpKvmOutF1, &X::IsIpKvmOutF1, {0xc3e7000d}},
        {&X::IsHeron, &X::IsHeron, {0xc3e7000f}},
        {&X::IsMultiBoardsSyncSupported, &X::IsHeron, {0xc3e7000f}},
        {&X::IsQuadHdmiIn, &X::IsQuadHdmiIn, {0xc3e70c10, 0xc3e70000, 0xc3e70006, 0xc3e70001}},
        {&X::IsQuadDPOut, &X::IsQuadDPOut, {0xc3e70007, 0xc3e70004}},
        {&X::IsProto1Dvo, &X::IsProto1Dvo, {0xc3e70c00, 0xc3e70002}},
    };
    for (KUINT32 uiDevId : ALL_DEVICES)
    {
        const X oFpga   = Fpga(uiDevId, 0);
        bool    bIsFast = false;
        for (const auto& roRow : aoRows)
        {
            const KBOOL32 bIsOne = std::ranges::count(roRow.auiDevIds, uiDevId) != 0;
            EXPECT_EQ((oFpga.*roRow.Is)(), bIsOne) << "row " << &roRow - aoRows << std::hex << ", device " << uiDevId;
            EXPECT_EQ(roRow.IsId(uiDevId), bIsOne) << "row " << &roRow - aoRows << std::hex << ", device " << uiDevId;
            bIsFast |= bIsOne && (roRow.auiDevIds.size() > 1 || roRow.auiDevIds[0] == 0xc3e70008);
        }
        EXPECT_EQ(oFpga.GetPortBandwidth(), bIsFast ? 0x5dc00000u : 0x41a00000u) << std::hex << uiDevId;
        EXPECT_EQ(Fpga(uiDevId, 0x10529).GetPortBandwidth(), 0x5dc00000u);
        EXPECT_EQ(oFpga.IsProto1(), uiDevId == 0xc3e70008 || uiDevId == 0xc3e70c00 || uiDevId == 0xc3e70002);
        EXPECT_TRUE(Fpga(uiDevId, 0x1093d).IsProto1());
        EXPECT_EQ(oFpga.GetPortFifoSize(), 16384u);

        const bool bIsOneKey = uiDevId == 0xc3e7000a || uiDevId == 0xc3e7000c, bIsTwo = uiDevId == 0xc3e7000e, bIsSix = uiDevId == 0xc3e70010;
        const std::vector<unsigned short> aui16Six = {0x170, 0x170, 0x170, 0x170, 0x30, 0x30};
        X::AddressArray aui16Keys;
        aui16Keys.Add(1);
        EXPECT_EQ(oFpga.GetHdcpKeyAddress(aui16Keys), bIsSix ? 0xff0000u : bIsOneKey || bIsTwo ? 0x7ff000u : 0u);
        ASSERT_EQ(aui16Keys.GetSize(), bIsSix ? 6 : bIsTwo ? 2 : bIsOneKey ? 1 : 0);
        EXPECT_TRUE(std::equal(aui16Keys.Begin(), aui16Keys.End(), aui16Six.begin()));
    }
}

TEST(FpgaInfo, ReturnsWhatItWasMadeOf)
{
    const CKString     oName("sixty-five characters ............................................");
    const XDevFpgaInfo oFpga(E_FPGA_DEVID_VESKQUADHI_FULL, E_FPGA_QUADHI_01_005_013, E_BRIDGE_VER_OLD, 3, 4, 0xd0, oName);
    EXPECT_EQ(oFpga.GetName().c_str(), oName.c_str()) << "the name is shared";
    EXPECT_EQ(oFpga.GetVersionStr(), "001-005-013");
    EXPECT_EQ(oFpga.GetBridgeVersionStr(), "000-000-000");
    EXPECT_EQ(oFpga.GetVersion(), 0x1050du);
    EXPECT_EQ(oFpga.IsTimeConversionSupported(), 3);
    EXPECT_EQ(oFpga.GetFpgaVendorId(), 0xc3e7);
    EXPECT_EQ(oFpga.GetFpgaDeviceId(), 6);

    tagTBoard_FpgaInfo oInfo;
    std::memset(&oInfo, 0x5a, sizeof(oInfo));
    tagTBoard_FpgaInfo oBefore = oInfo;
    EXPECT_EQ(oFpga.GetFpgaBoardInfo(oInfo), TStatus_INVALID_PARAM);
    EXPECT_EQ(std::memcmp(&oInfo, &oBefore, sizeof(oInfo)), 0);

    oInfo.uiSize = 84;
    EXPECT_EQ(oFpga.GetFpgaBoardInfo(oInfo), TStatus_OK);
    EXPECT_EQ(std::memcmp(oInfo.szName, oName.c_str(), 64), 0);
    const tagTBoard_FpgaInfo oExpected = {84, {}, 6, 0xc3e7, 4, 0xd0, 1, 5, 13};
    EXPECT_EQ(std::memcmp(&oInfo.ui16DevID, &oExpected.ui16DevID, 84 - 68), 0);
    XDevFpgaInfo(0, 0, 0, 0, 0, 0, "ab").GetFpgaBoardInfo(oInfo);
    EXPECT_EQ(std::memcmp(oInfo.szName, "abxty", 5), 0) << "no terminator is added";
}
