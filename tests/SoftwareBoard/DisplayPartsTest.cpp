// What shows an output on a display, as far as that needs no card: modes, formats, who shows what, and the changed rows.
#include <drm_fourcc.h>

#include <cstring>

#include "BoardError.h"
#include "BoardWorld.h"
#include "Connectors.h"
#include "DisplayMode.h"
#include "Drawer.h"
#include "Picture.h"

namespace
{
using namespace Display;
using SoftwareBoard::FileDescriptor;

TEST(DisplayMode, HasTheTimingsOfTheOutputOrIsNone)
{
    const tagTVideo_VidParam oDefault = {1024, 768, 60, 48, 65000, 24, 136, 160, 3, 6, 29, 0, 0, 0, 0};
    const tagTVideo_VidParam oInterlaced = {1920, 1080, 30, 33, 74250, 88, 44, 148, 4, 10, 31, 1, 0, 1, 1};
    EXPECT_EQ(DescribeMode(*MakeMode(oDefault)), "1024x768-60 (1024 1048 1184 1344 768 771 777 806 65000 flags: nhsync, nvsync)");
    EXPECT_EQ(DescribeMode(*MakeMode(oInterlaced)),
              "1920x1080i-30 (1920 2008 2052 2200 1080 1084 1094 1125 74250 flags: interlace, phsync, pvsync)");
    const std::tuple<KUINT32, KUINT32, KUINT32, bool> aoSizes[] = {  // width, front porch, sync
        {0xFFFF - 160, 0, 0, true}, {0xFFFF - 160, 1, 0, false}, {1024, 0xFFFFFFFF, 0xFFFFFFFF, false}, {0, 24, 136, false}};
    for (const auto& [uiActive, uiFPorch, uiSync, bFits] : aoSizes)
    {
        tagTVideo_VidParam oWide = oDefault;
        oWide.uiHActive          = uiActive;
        oWide.uiHFPorch          = uiFPorch;
        oWide.uiHSync            = uiSync;
        EXPECT_EQ(MakeMode(oWide).has_value(), bFits) << uiActive << " " << uiFPorch;
    }
}

TEST(ScanFormat, CheapestOneThatThePlaneHasShowsTheSameOpaqueColours)
{
    constexpr uint32_t uiB = DRM_FORMAT_XBGR8888, uiBA = DRM_FORMAT_ABGR8888, uiR = DRM_FORMAT_XRGB8888, uiRA = DRM_FORMAT_ARGB8888;
    const KUINT32 auiRow[] = {0x00332211, 0x80FFEEDD, 0xFF0000FF};
    const std::tuple<std::vector<uint32_t>, uint32_t, KUINT32, KUINT32, KUINT32> aoCases[] = {  // has, chosen, and its pixels
        {{uiR, uiRA, uiBA, uiB}, uiB, 0x332211, 0xFFEEDD, 0x0000FF},
        {{uiR, uiRA, uiBA}, uiBA, 0xFF332211, 0xFFFFEEDD, 0xFF0000FF},
        {{DRM_FORMAT_BGRX8888, uiRA, uiR}, uiR, 0x112233, 0xDDEEFF, 0xFF0000},
        {{DRM_FORMAT_RGB565, uiRA}, uiRA, 0xFF112233, 0xFFDDEEFF, 0xFFFF0000},
    };
    for (const auto& [auiHas, uiChosen, uiFirst, uiSecond, uiThird] : aoCases)
    {
        const SScanFormat* const poFormat = ChooseFormat(auiHas);
        ASSERT_TRUE(poFormat != nullptr && poFormat->uiFourCc == uiChosen);
        KUINT32 auiShown[4] = {1, 1, 1, 1};
        CopyRow(*poFormat, auiRow, auiShown, 3);
        const KUINT32 uiSeen = poFormat->bAlphaCounts ? 0xFFFFFFFF : 0xFFFFFF;  // the X is nobody's
        EXPECT_EQ(std::vector({auiShown[0] & uiSeen, auiShown[1] & uiSeen, auiShown[2] & uiSeen, auiShown[3]}),
                  std::vector({uiFirst, uiSecond, uiThird, 1u}));
    }
    EXPECT_EQ(ChooseFormat({DRM_FORMAT_RGB565, DRM_FORMAT_BGRX8888}), nullptr);
}

TEST(Connectors, EachOutputKeepsItsOwnUntilItIsPulled)
{
    using Ids = std::vector<uint32_t>;
    const auto fThree = [](bool bA, bool bB, bool bC) {
        return std::vector<SConnector>{{1, "A", bA, 1, 0}, {2, "B", bB, 1, 0}, {3, "C", bC, 1, 0}};
    };
    const std::tuple<std::vector<SConnector>, std::vector<std::string>, Ids, Ids> aoCases[] = {  // names, before, now
        {fThree(true, false, true), {}, {0, 0, 0}, {1, 3, 0}},
        {fThree(true, true, true), {}, {1, 3}, {1, 3}},
        {fThree(false, true, true), {}, {1, 3}, {2, 3}},
        {fThree(false, false, true), {}, {1, 3}, {0, 3}},
        {fThree(true, true, true), {"C", "A"}, {0, 0, 0}, {3, 1, 0}},
        {fThree(true, true, false), {"C", "A"}, {3, 1, 0}, {0, 1, 0}},
    };
    for (const auto& [oConnectors, oNames, oBefore, oNow] : aoCases)
        EXPECT_EQ(AssignConnectors(oConnectors, oNames, oBefore), oNow);
}

class PictureTest : public BoardWorld
{
protected:
    static constexpr KUINT32 uiWidth = 33, uiHeight = 700;  // more rows than are read at once
    FileDescriptor Open() const { return FileDescriptor(open((m_oFolder / "board.pixels-0").c_str(), O_RDONLY)); }
};

TEST_F(PictureTest, BuffersOfAnyAgeGetTheRowsThatTheyLack)
{
    InClient([&](TestClient& ro) {
        constexpr size_t uiFrom = 48, uiTo = 40;  // pixels from row to row
        ro.MakeBuffer(uiWidth, uiHeight);
        KUINT32* const                     puiDrawn = reinterpret_cast<KUINT32*>(ro.Access());
        const SoftwareBoard::SOutputRecord oRecord{.oVidParam = {.uiHActive = 20, .uiVActive = 800}, .uiBufferWidth = uiWidth,
                                                   .uiBufferHeight = uiHeight};
        Picture             oPicture(oRecord, Open());
        const SScanFormat&  roFormat = *ChooseFormat({DRM_FORMAT_XBGR8888});
        std::vector<KUINT32> aauiShown[2] = {std::vector<KUINT32>(uiTo * 800, 5), std::vector<KUINT32>(uiTo * 800, 5)};
        KUINT64              auiTimes[2] = {};
        const auto           fFill = [&](int iBuffer) {
            std::vector<KUINT32>& rauiShown = aauiShown[iBuffer];
            oPicture.CopyChanges(auiTimes[iBuffer], roFormat, reinterpret_cast<KUINT8*>(rauiShown.data()), uiTo * 4);
            auiTimes[iBuffer] = oPicture.GetTime();
            for (size_t uiRow = 0; uiRow < 800; ++uiRow)
                for (size_t uiX = 0; uiX < uiTo; ++uiX)
                    ASSERT_EQ(rauiShown[uiRow * uiTo + uiX], uiRow < uiHeight && uiX < 20 ? puiDrawn[uiRow * uiFrom + uiX] : 5)
                        << "row " << uiRow << ", column " << uiX;
        };
        const std::tuple<size_t, size_t, int, KUINT64> aoSteps[] = {  // row and column drawn, buffer filled, time then
            {0, 0, 0, 1}, {699, 19, 1, 2}, {5, 3, 0, 3}, {345, 0, 0, 4}, {346, 20, 1, 4}, {9, 19, 1, 5}, {9, 19, 0, 5}};
        for (const auto& [uiRow, uiX, iBuffer, uiTime] : aoSteps)
        {
            puiDrawn[uiRow * uiFrom + uiX] = 77;
            oPicture.Update();
            EXPECT_EQ(oPicture.GetTime(), uiTime) << "row " << uiRow << ": what is unseen or unchanged counts for nothing";
            fFill(iBuffer);
        }
        std::filesystem::resize_file(m_oFolder / "board.pixels-0", 700 * uiFrom * 4 - 1);
        EXPECT_THROW(oPicture.Update(), SoftwareBoard::BoardError);
    });
}

TEST_F(PictureTest, OnlyAProcessThatRanMayHaveDrawn)
{
    Process oDrawing([&] {
        TestClient oClient;
        oClient.MakeBuffer(uiWidth, uiHeight);
        for (int iTimes = 0; iTimes < 2; ++iTimes)
            Process::Pause();
    });
    oDrawing.Await();
    const FileDescriptor oPixels = Open();
    Drawer oDrawer(oPixels.Get(), oDrawing.GetPid()), oStranger(oPixels.Get(), getppid());
    const auto fCount = [&](Drawer& ro) {  // of three looks in far less than a second
        return ro.MayHaveDrawn(oPixels.Get()) + ro.MayHaveDrawn(oPixels.Get()) + ro.MayHaveDrawn(oPixels.Get());
    };
    EXPECT_LE(fCount(oDrawer), 2) << "the first look, and that of a new second";
    EXPECT_EQ(fCount(oStranger), 3) << "somebody else's time says nothing";
    oDrawing.Resume();
    oDrawing.Await();
    EXPECT_GE(fCount(oDrawer), 1);
    oDrawing.Kill();
    EXPECT_EQ(fCount(oDrawer), 1) << "what it drew last";
    EXPECT_TRUE(oDrawer.IsGone());
    std::filesystem::resize_file(m_oFolder / "board.pixels-0", 5);
    EXPECT_EQ(fCount(oDrawer), 1) << "written by another";
}
}
