#include <gtest/gtest.h>

#include <vector>

#include "XDevFpgaInfo.h"

// By device ids and version: rows, those not supported, and a sum in which every row and its place count, so that one
// that is missing, moved or mistyped changes it.
TEST(Registry, ListsHoldWhatWasReleased)
{
    const struct
    {
        std::vector<KUINT32> auiDevIds;
        KUINT32              uiVersion;
        int                  iCount, iNotSupported;
        KUINT32              uiSum;
    } aoRows[] = {
        {{0xc3e70c00, 0xc3e70002}, 0, 11, 5, 0xe6d68ee8},
        {{0xc3e70008}, 0, 12, 3, 0x3d6adcaf},
        {{0xc3e70c10, 0xc3e70000, 0xc3e70006, 0xc3e70001}, 0, 26, 15, 0x1bb3b2cb},
        {{0xc3e70007, 0xc3e70004}, 0, 19, 5, 0xfe956c38},
        {{0xc3e70003}, 0, 36, 4, 0x2d7d7f30},
        {{0xc3e70005}, 0, 25, 3, 0x6749275c},
        {{0xc3e74000}, 0, 1, 0, 0x000400d7},
        {{0xc3e70009}, 0, 12, 0, 0x8429f7dc},
        {{0xc3e7000a}, 0, 41, 4, 0x01a0f409},
        {{0xc3e7000b}, 0, 30, 2, 0xe290913c},
        {{0xc3e7000c}, 0, 25, 3, 0x93aec43c},
        {{0xc3e7000d}, 0, 13, 1, 0x7c646a2a},
        {{0xc3e7000e}, 0, 18, 0, 0xcf899740},
        {{0xc3e7000f}, 0, 8, 0, 0x87ed3d66},
        {{0xc3e70010}, 0, 20, 0, 0xf80b0df6},
        {{0xc3e70011}, 0, 10, 0, 0x2039a6fa},
        {{0xc3e70012}, 0, 3, 0, 0x002693a9},
        {{0xc3e70002, 0xc3e70013, 0}, 0x1093d, 11, 5, 0xe6d68ee8},
        {{0xc3e70002, 0xc3e70013, 0}, 0x107ad, 11, 5, 0xe6d68ee8},
        {{0xc3e70002, 0xc3e70013, 0}, 0x105a7, 11, 5, 0xe6d68ee8},
        {{0xc3e70002, 0xc3e70013, 0}, 0x10529, 11, 5, 0xe6d68ee8},
        {{0xc3e70008}, 0x1093d, 23, 8, 0xefba3ed9},
        {{0xc3e70003}, 0x10529, 47, 9, 0xc8bcba18},
        {{0xc3e70013, 0}, 0x10528, 0, 0, 0x00000000},
    };
    for (const auto& roRow : aoRows)
    {
        for (KUINT32 uiDevId : roRow.auiDevIds)
        {
            const XDevFpgaInfo oFpga(uiDevId, roRow.uiVersion, 0, FALSE, 0, 0, "");
            const auto&        roData        = oFpga.GetFpgaVersionData();
            int                iNotSupported = 0;
            KUINT32            uiSum         = 0;
            for (const auto* po = roData.Begin(); po != roData.End(); ++po)
            {
                EXPECT_EQ(po->bIsKnown, TRUE);
                iNotSupported += !po->bIsSupported;
                uiSum = uiSum * 31 + po->uiFpgaVersion * 2 + (po->bIsSupported ? 1 : 0);
            }
            SCOPED_TRACE(testing::Message() << std::hex << uiDevId << ", version " << roRow.uiVersion);
            EXPECT_EQ(roData.GetSize(), roRow.iCount);
            EXPECT_EQ(iNotSupported, roRow.iNotSupported);
            EXPECT_EQ(uiSum, roRow.uiSum);
        }
    }
    EXPECT_EQ(XDevFpgaInfo().GetFpgaVersionData().GetSize(), 0);
}

TEST(Registry, NamesOfUnregisteredVersionsHaveTheirValues)
{
    using Numbers = std::vector<KUINT32>;
    EXPECT_EQ((Numbers{E_FPGA_TARNOUT_02_05_052, E_FPGA_IP_KVM_IN_F1_00_11_021, E_FPGA_IP_KVM_IN_F1_00_18_064,
                       E_FPGA_HERON_01_18_005, E_FPGA_HERON_01_19_002, E_FPGA_HERON_01_20_007, E_FPGA_HERON_01_21_002,
                       E_FPGA_HERON_01_22_006, E_FPGA_HERON_01_23_003}),
              (Numbers{0x20534, 0xb15, 0x1240, 0x11205, 0x11302, 0x11407, 0x11502, 0x11606, 0x11703}));
}
