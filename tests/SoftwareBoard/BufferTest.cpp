// Video buffers: their layout, their access periods, and how long their files last.
#include <sys/mman.h>
#include <sys/resource.h>

#include "BoardWorld.h"

using BufferTest = BoardWorld;

TEST_F(BufferTest, RowsArePadded)
{
    InClient([](TestClient& ro) {
        for (const auto& [uiFormat, uiBytes] : {std::pair{29u, 2u}, {30u, 2u}, {52u, 4u}, {54u, 4u}, {56u, 4u}, {61u, 4u}})
        {
            tagTBuffer_PlaneInfo o = {};
            EXPECT_EQ(ro.TBuffer_CreateVideo(ro.hDev, TPixelFormat{uiFormat}, 1920, 3, &ro.hBuffer), TStatus_OK);
            EXPECT_EQ(ro.TBuffer_GetPlaneInfo(ro.hBuffer, &o), TStatus_OK);
            EXPECT_EQ(std::tuple(o.uiPlaneCount, o.aePlaneFormat[0], o.auiWidth[0], o.auiHeight[0], o.auiWidthInBytes[0]),
                      std::tuple(1u, uiFormat, 1920u, 3u, 1920 * uiBytes));
            EXPECT_GT(o.auiPitch[0], 1920u) << uiFormat;
            EXPECT_EQ(o.auiPitchInBytes[0], o.auiPitch[0] * uiBytes) << uiFormat;
        }
    });
}

TEST_F(BufferTest, EachAccessPeriodHasAnAddressOfItsOwn)
{
    InClient([](TestClient& ro) {
        unsigned char ucThere = 0;
        KUINTPTR      uiPlane = 7;
        ro.MakeBuffer(100, 100);
        for (KUINT8 uiPeriod = 0, *puiLast = nullptr; uiPeriod < 8; ++uiPeriod)
        {
            KUINT8* const puiPlane = ro.Access();
            EXPECT_NE(puiPlane, puiLast);
            EXPECT_EQ(mincore(std::exchange(puiLast, puiPlane), 1, &ucThere), -1) << "something is at the last address";
            EXPECT_EQ((*puiPlane)++, uiPeriod) << "the pixels stay from period to period";
            EXPECT_EQ(ro.TBuffer_BeginAccess(ro.hBuffer, 0, 1, &uiPlane), TStatus_INVALID_PARAM);
            EXPECT_EQ(uiPlane, 7u);
            EXPECT_EQ((uiPeriod < 7 ? ro.TBuffer_EndAccess : ro.TBuffer_Destroy)(ro.hBuffer), TStatus_OK);
            EXPECT_EQ(ro.TBuffer_EndAccess(ro.hBuffer), TStatus_INVALID_PARAM);
            EXPECT_EQ(mincore(puiPlane, 1, &ucThere), -1) << "the old address is still there";
        }
        ro.MakeBuffer();
        std::filesystem::resize_file(std::string(getenv("TAVRIN_BOARD")) + "/board.pixels-0", 32 * 8 * 4);
        EXPECT_EQ(ro.TBuffer_BeginAccess(ro.hBuffer, 0, 1, &uiPlane), TStatus_FAIL) << "its file was cut";
    });
}

TEST_F(BufferTest, FileGoesWithTheLastThatNeedsIt)
{
    const auto fExpect = [&](long iFiles, const char* pszWhen) {
        EXPECT_EQ(CountFiles("board.pixels-"), iFiles) << pszWhen;
    };
    InClient([&](TestClient& ro) {
        EXPECT_TRUE(std::ofstream(m_oFolder / "board.pixels-new") << "a user's file");
        EXPECT_EQ(ro.TBuffer_CreateVideo(ro.hDev, TPixelFormat_R8G8B8A8, 48, 8, &ro.hBuffer), TStatus_FAIL);
        EXPECT_EQ(ReadFile(m_oFolder / "board.pixels-new"), "a user's file");
        EXPECT_TRUE(std::ofstream(m_oFolder / "board.pixels-new") << std::string(100, '\0')) << "a killed process left it";
        const TBuffer_Handle hFirst = ro.MakeBuffer();
        EXPECT_EQ(std::pair(ro.Enable(0), ro.Enable(1)), std::pair(TStatus_OK, TStatus_OK));
        ro.TBuffer_Destroy(hFirst);
        fExpect(1, "destroyed, but two outputs show it");
        const TBuffer_Handle hSecond = ro.MakeBuffer();
        ro.Enable(0);
        fExpect(2, "one output still shows the first");
        ro.Disable(1);
        ro.Disable(0);
        fExpect(1, "nothing shows the second, but its maker has it");
        ro.TBuffer_Destroy(hSecond);
        fExpect(0, "all gone");
        EXPECT_EQ((ro.MakeBuffer(), ro.Enable(0)), TStatus_OK);
        std::filesystem::remove(m_oFolder / "board.pixels-0");
        ro.MakeBuffer();
        EXPECT_FALSE(std::filesystem::exists(m_oFolder / "board.pixels-0")) << "the output would show other pixels";
        ro.Disable(0);
    });
    Process oKilled([] {
        TestClient().MakeBuffer();
        HoldOutput();
    });
    oKilled.Await();
    InClient([](TestClient& ro) { ro.MakeBuffer(); });
    fExpect(3, "two of a living process, and what the other one left");
    oKilled.Kill();
    InClient([&](TestClient& ro) {
        ro.MakeBuffer();
        fExpect(2, "the picture of the killed process is still shown, its other buffer went with the making of this one");
        EXPECT_EQ(ro.Enable(0), TStatus_OK);
        fExpect(1, "and is not shown any more");
        const rlimit oRoom = {48 * 8 * 4 + 8, RLIM_INFINITY}, oMuchRoom = {RLIM_INFINITY, RLIM_INFINITY};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &oRoom), 0);
        EXPECT_EQ(ro.TBuffer_Destroy(ro.MakeBuffer()), TStatus_OK) << "one has just enough room";
        for (const auto& [uiWidth, uiHeight, eStatus] :  // the largest that 32 bits can hold, and the next
             {std::tuple{1024u, 1024u, TStatus_FAIL}, {0x3FFFFFEF, 1, TStatus_FAIL}, {0x3FFFFFF0, 1, TStatus_INVALID_PARAM}})
            EXPECT_EQ(ro.TBuffer_CreateVideo(ro.hDev, TPixelFormat_R8G8B8A8, uiWidth, uiHeight, &ro.hBuffer), eStatus);
        fExpect(1, "one that has no room leaves nothing");
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &oMuchRoom), 0);
        std::filesystem::remove(m_oFolder / "board.state");
        InClient([](TestClient& roOther) { EXPECT_EQ((roOther.MakeBuffer(), roOther.Enable(1)), TStatus_OK); });
        EXPECT_EQ(ro.Disable(0), TStatus_OK);
        EXPECT_TRUE(std::filesystem::exists(m_oFolder / "board.pixels-1"))
            << "the picture of the board that came in its place";
    });
}
