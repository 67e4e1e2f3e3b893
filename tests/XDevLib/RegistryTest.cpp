#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "XDevFpgaInfo.h"

namespace
{
XDevFpgaInfo Fpga(KUINT32 uiDevId, KUINT32 uiVersion = 0)
{
    return XDevFpgaInfo(uiDevId, uiVersion, 0, FALSE, 0, 0, "");
}

std::vector<KUINT32> Versions(const XDevFpgaInfo& roFpga)
{
    std::vector<KUINT32> auiVersions;
    for (const auto* po = roFpga.GetFpgaVersionData().Begin(); po != roFpga.GetFpgaVersionData().End(); ++po)
        auiVersions.push_back(po->uiFpgaVersion);
    return auiVersions;
}

std::vector<KUINT32> Joined(std::vector<KUINT32> auiA, const std::vector<KUINT32>& rauiB)
{
    auiA.insert(auiA.end(), rauiB.begin(), rauiB.end());
    return auiA;
}
}

// First and last version and a sum in which every place counts: a row that is missing, moved or mistyped changes it.
TEST(Registry, ListsHoldWhatTheReleasesSay)
{
    const struct
    {
        KUINT32 uiDevId;
        int     iCount, iNotSupported;
        KUINT32 uiFirst, uiLast, uiPlaceSum;
    } aoRows[] = {
        {0xc3e70c00, 11, 5, 0x20449, 0x10529, 0xe6d68ee8},
        {0xc3e70002, 11, 5, 0x20449, 0x10529, 0xe6d68ee8},
        {0xc3e70008, 12, 3, 0x00401, 0x0011c, 0x3d6adcaf},
        {0xc3e70c10, 26, 15, 0x1050d, 0x00057, 0x1bb3b2cb},
        {0xc3e70000, 26, 15, 0x1050d, 0x00057, 0x1bb3b2cb},
        {0xc3e70006, 26, 15, 0x1050d, 0x00057, 0x1bb3b2cb},
        {0xc3e70001, 26, 15, 0x1050d, 0x00057, 0x1bb3b2cb},
        {0xc3e70007, 19, 5, 0x0083b, 0x000e2, 0xfe956c38},
        {0xc3e70004, 19, 5, 0x0083b, 0x000e2, 0xfe956c38},
        {0xc3e70003, 36, 4, 0x12100, 0x10e99, 0x2d7d7f30},
        {0xc3e70005, 25, 3, 0x20d2d, 0x1010c, 0x6749275c},
        {0xc3e74000, 1, 0, 0x2006b, 0x2006b, 0x000400d7},
        {0xc3e70009, 12, 0, 0x1090a, 0x10145, 0x8429f7dc},
        {0xc3e7000a, 41, 4, 0x11b01, 0x002b2, 0x01a0f409},
        {0xc3e7000b, 30, 2, 0x02109, 0x0063e, 0xe290913c},
        {0xc3e7000c, 25, 3, 0x01a03, 0x00072, 0x93aec43c},
        {0xc3e7000d, 13, 1, 0x00d04, 0x00059, 0x7c646a2a},
        {0xc3e7000e, 18, 0, 0x0100e, 0x0020b, 0xcf899740},
        {0xc3e7000f, 8, 0, 0x11923, 0x00f01, 0x87ed3d66},
        {0xc3e70010, 20, 0, 0x01902, 0x00414, 0xf80b0df6},
        {0xc3e70011, 10, 0, 0x10101, 0x00006, 0x2039a6fa},
        {0xc3e70012, 3, 0, 0x00501, 0x00304, 0x002693a9},
    };
    std::set<KUINT32> oDevIds;
    for (const auto& roRow : aoRows)
    {
        SCOPED_TRACE(testing::Message() << std::hex << roRow.uiDevId);
        EXPECT_TRUE(oDevIds.insert(roRow.uiDevId).second);
        const XDevFpgaInfo oFpga  = Fpga(roRow.uiDevId);
        const auto&        roData = oFpga.GetFpgaVersionData();
        ASSERT_EQ(roData.GetSize(), roRow.iCount);

        int               iNotSupported = 0;
        KUINT32           uiPlaceSum    = 0;
        std::set<KUINT32> oSeen;
        for (int i = 0; i < roData.GetSize(); ++i)
        {
            EXPECT_EQ(roData[i].bIsKnown, TRUE);
            EXPECT_TRUE(oSeen.insert(roData[i].uiFpgaVersion).second) << "twice: " << roData[i].uiFpgaVersion;
            iNotSupported += !roData[i].bIsSupported;
            uiPlaceSum = uiPlaceSum * 31 + roData[i].uiFpgaVersion * 2 + (roData[i].bIsSupported ? 1 : 0);
        }
        EXPECT_EQ(iNotSupported, roRow.iNotSupported);
        EXPECT_EQ(roData[0].uiFpgaVersion, roRow.uiFirst);
        EXPECT_EQ(roData[roData.GetSize() - 1].uiFpgaVersion, roRow.uiLast);
        EXPECT_EQ(uiPlaceSum, roRow.uiPlaceSum);
    }
    EXPECT_EQ(oDevIds.size(), 22u);
}

TEST(Registry, TheDvoListGoesByVersionToo)
{
    const auto auiDvo  = Versions(Fpga(E_FPGA_DEVID_PROTO1_DVO));
    const auto auiPort = Versions(Fpga(E_FPGA_DEVID_PROTO1_FPGA_PORT));
    const auto auiTarn = Versions(Fpga(E_FPGA_DEVID_TARN_IN));
    for (KUINT32 uiVersion : {0x1093du, 0x107adu, 0x105a7u, 0x10529u})
    {
        EXPECT_EQ(Versions(Fpga(E_FPGA_DEVID_PROTO1_FPGA_PORT, uiVersion)), Joined(auiPort, auiDvo));
        EXPECT_EQ(Versions(Fpga(E_FPGA_DEVID_TARN_IN, uiVersion)), Joined(auiDvo, auiTarn));
        EXPECT_EQ(Versions(Fpga(E_FPGA_DEVID_PROTO1_DVO, uiVersion)), auiDvo);
        EXPECT_EQ(Versions(Fpga(0xc3e70013, uiVersion)), auiDvo);
    }
    EXPECT_TRUE(Versions(Fpga(0xc3e70013)).empty());
    EXPECT_TRUE(Versions(XDevFpgaInfo()).empty());
}

// Named, but in no list.
TEST(Registry, UnregisteredVersionsAreNotKnown)
{
    const struct
    {
        KUINT32               uiDevId;
        ESupportedFpgaVersion eVersion;
        KUINT32               uiValue;
    } aoRows[] = {
        {E_FPGA_DEVID_TARN_OUT, E_FPGA_TARNOUT_02_05_052, 0x20534},
        {E_FPGA_DEVID_IP_KVM_IN_F1, E_FPGA_IP_KVM_IN_F1_00_11_021, 0x00b15},
        {E_FPGA_DEVID_IP_KVM_IN_F1, E_FPGA_IP_KVM_IN_F1_00_18_064, 0x01240},
        {E_FPGA_DEVID_HERON, E_FPGA_HERON_01_18_005, 0x11205},
        {E_FPGA_DEVID_HERON, E_FPGA_HERON_01_19_002, 0x11302},
        {E_FPGA_DEVID_HERON, E_FPGA_HERON_01_20_007, 0x11407},
        {E_FPGA_DEVID_HERON, E_FPGA_HERON_01_21_002, 0x11502},
        {E_FPGA_DEVID_HERON, E_FPGA_HERON_01_22_006, 0x11606},
        {E_FPGA_DEVID_HERON, E_FPGA_HERON_01_23_003, 0x11703},
    };
    for (const auto& roRow : aoRows)
    {
        EXPECT_EQ(roRow.eVersion, roRow.uiValue);
        for (KUINT32 uiVersion : Versions(Fpga(roRow.uiDevId)))
            EXPECT_NE(uiVersion, roRow.uiValue);
    }
}
