// The window of watch, in SDL's driver without a screen. That driver saves what the window shows as a file, a frame after a
// frame. Events are those that a person or the system would cause.
#include <SDL.h>

#include "PanelWorld.h"
#include "Signals.h"
#include "Tiling.h"
#include "Watch.h"

namespace
{
using namespace SoftwareBoard::Viewer;
using SoftwareBoard::Panel::SPicture;

constexpr STextColours CAPTION = {{210, 214, 220}, {40, 44, 52}}, BAR = {{210, 214, 220}, {62, 96, 140}};

// What the window shows; part of it or nothing while the file is written.
SPicture ReadFrame(const std::string& strFile)
{
    SDL_Surface* const poFile = SDL_LoadBMP(strFile.c_str());
    if (poFile == nullptr) return {};
    SDL_Surface* const po  = SDL_ConvertSurfaceFormat(poFile, SDL_PIXELFORMAT_ABGR8888, 0);
    const auto* const  pui = static_cast<const Uint8*>(po->pixels);
    SPicture           oFrame{static_cast<KUINT32>(po->w), static_cast<KUINT32>(po->h), {pui, pui + po->pitch * po->h}};
    SDL_FreeSurface(po), SDL_FreeSurface(poFile);
    return oFrame;
}

// Puts as much as there is room for.
void Put(SPicture& roOn, const SPicture& ro, KUINT32 uiX, KUINT32 uiY)
{
    const size_t uiBytes = size_t{std::min(ro.uiWidth, std::max(roOn.uiWidth, uiX) - uiX)} * 4;
    for (KUINT32 y = 0; uiBytes > 0 && y < ro.uiHeight; ++y)
        std::copy_n(&ro.auiRgba[y * ro.GetPitchInBytes()], uiBytes,
                    &roOn.auiRgba[(uiY + y) * roOn.GetPitchInBytes() + uiX * 4]);
}

// The picture of that size, with its blue middle or without.
SPicture Drawn(KUINT32 uiWidth, KUINT32 uiHeight, bool bBlue)
{
    SPicture      o      = MakePlain(uiWidth, uiHeight, GREEN);
    const KUINT32 uiLeft = uiWidth / 4, uiTop = uiHeight / 4;
    if (bBlue) Put(o, MakePlain(uiWidth * 3 / 4 - uiLeft, uiHeight * 3 / 4 - uiTop, BLUE), uiLeft, uiTop);
    return o;
}

SPicture Line(const std::string& strText, KUINT32 uiRoom, const STextColours& roColours)
{
    const std::string strCut = CutText(strText, FitsPixels(static_cast<int>(uiRoom)));
    return DrawText(strCut, static_cast<KUINT32>(TextWidth(strCut)), 24, roColours, false);
}

// The window in which both outputs show the picture, made of parts that other tests try. An enlarged one is not smoothed.
SPicture Compose(const SBoardView& roView, const SPicture& roShown, bool bBlue, KUINT32 uiWidth, KUINT32 uiHeight)
{
    SPicture oAll = MakePlain(uiWidth, uiHeight, CAPTION.auiPaper);
    if (!roView.strProblem.empty()) return Put(oAll, Line(roView.strProblem, uiWidth - 16, CAPTION), 8, 8), oAll;
    const KUINT32 uiTile = (uiWidth - 24) / 2, uiRows = uiHeight < 184 ? 1 : 2, uiRoom = uiHeight - 40 - uiRows * 24;
    const std::pair<KUINT32, KUINT32> oFit =
        FitPicture(roShown.uiWidth, roShown.uiHeight, static_cast<int>(uiTile), static_cast<int>(uiRoom));
    SPicture oScaled = Drawn(oFit.first, oFit.second, bBlue);
    if (oFit.first <= roShown.uiWidth) ScaleDown(roShown, WholeOf(roShown), oScaled);
    for (KUINT32 uiX = 8; const size_t ui : {0u, 1u})
    {
        Put(oAll, MakePlain(uiTile, uiRoom, {20, 22, 26}), uiX, 8);
        Put(oAll, oScaled, uiX + (uiTile - oFit.first) / 2, 8 + (uiRoom - oFit.second) / 2);
        for (KUINT32     uiY = 8 + uiRoom;
             const auto& ro : CaptionOutput(ui, roView.aoOutputs[ui], uiRows, FitsPixels(static_cast<int>(uiTile))))
            Put(oAll, Line(ro, uiTile, CAPTION), uiX, std::exchange(uiY, uiY + 24));
        uiX += uiTile + 8;
    }
    SPicture oBar = MakePlain(uiWidth * roView.uiProgressPct / 100, 24, BAR.auiPaper);
    Put(oBar, Line(DescribeProgress(roView), uiWidth, BAR), 8, 0);
    Put(oAll, Line(DescribeProgress(roView), uiWidth, CAPTION), 8, uiHeight - 24);
    Put(oAll, oBar, 0, uiHeight - 24);
    return oAll;
}

struct WindowTest : PanelWorld
{
    WindowTest()
    {
        setenv("SDL_VIDEODRIVER", "dummy", 1);
        setenv("SDL_VIDEO_DUMMY_SAVE_FRAMES", "1", 1);
        fs::create_directory(At("frames"));
        fs::current_path(At("frames"));
    }
    ~WindowTest() override { fs::current_path("/"); }

    // Waits until a frame that is newer than the last one passes the test; not after a failure. The file of a frame that
    // does not may not be whole yet, and is read again.
    void AwaitFrame(
        const std::string& strWhat, const std::function<bool(const SPicture&)>& fIsIt = [](auto& ro) { return ro.uiWidth; })
    {
        std::string strNewest;
        const auto  fIsShown = [&] {
            for (const auto& ro : fs::directory_iterator(At("frames"))) strNewest = std::max(strNewest, ro.path().string());
            return HasFailure() || (strNewest != m_strLast && fIsIt(ReadFrame(strNewest)));
        };
        EXPECT_TRUE(Becomes(fIsShown)) << strWhat << " is never shown; the last frame is " << strNewest;
        m_strLast = strNewest;
    }
    // Shows the board until the person, who acts meanwhile, closes the window. Returns the signal that ended it, or 0.
    static int Watch(const std::function<void()>& fPerson)
    try
    {
        const SoftwareBoard::Panel::Signals oBlocked;  // so that only the window takes signals
        const std::jthread                  oPerson([&] {
            fPerson();
            EXPECT_TRUE(Becomes([] { return SDL_WasInit(SDL_INIT_VIDEO) == 0; })) << "the person did not close the window";
            Push(SDL_QUIT);
        });
        WatchedBoard                        oBoard(0, true);
        WatchInWindow(oBoard);
        return 0;
    }
    catch (const SoftwareBoard::Panel::EndedBySignal& ro)
    {
        return ro.iSignal;
    }
    static void Push(Uint32 uiType, SDL_Keycode iKey = 0)
    {
        SDL_Event o      = {.type = uiType};
        o.key.keysym.sym = iKey;
        SDL_PushEvent(&o);
    }

    std::string m_strLast;
};

TEST_F(WindowTest, KeysTheButtonAndSignalsCloseItAndNothingElseDoes)
{
    // A key or a signal, or neither for the button.
    const std::pair<SDL_Keycode, int> aoCases[] = {{SDLK_q, 0}, {SDLK_ESCAPE, 0}, {0, 0},
                                                   {0, SIGINT}, {0, SIGTERM},     {0, SIGHUP}};
    for (const auto& ro : aoCases)
    {
        const auto fPerson = [&] {
            AwaitFrame("the window");
            Push(SDL_KEYDOWN, SDLK_x);
            Push(SDL_KEYUP, SDLK_q);
            for (const Uint32 uiType : {SDL_MOUSEBUTTONDOWN, SDL_MOUSEWHEEL, SDL_WINDOWEVENT}) Push(uiType);
            AwaitFrame("the window, drawn anew");
            if (ro.second != 0)
                kill(getpid(), ro.second);
            else
                Push(ro.first != 0 ? SDL_KEYDOWN : SDL_QUIT, ro.first);
        };
        EXPECT_EQ(Watch(fPerson), ro.second == SIGHUP ? SIGHUP : 0) << "key " << ro.first << ", signal " << ro.second;
    }
    setenv("SDL_VIDEODRIVER", "none", 1);
    Expect("watch --window", 1, "set DISPLAY or WAYLAND_DISPLAY, or watch without --window");
}

TEST_F(WindowTest, BothTilesShowThePictureAsLargeAsFitsAndFollowIt)
{
    for (const auto& oSize : {std::pair{1024u, 768u}, {508, 381}, {40, 30}})  // smaller, as it is, and enlarged
    {
        SCOPED_TRACE(oSize.first);
        Expect("create", 0, "");
        Drawing    oDrawing(oSize.first, oSize.second);
        const auto fAwait = [&](const char* pszWhat, bool bBlue, KUINT32 uiWidth) {
            AwaitFrame(pszWhat, [&](const SPicture& ro) {
                if (ro.uiWidth != uiWidth) return false;
                WatchedBoard oBoard(0, false);
                oBoard.Update();
                const SPicture oShown  = Drawn(oSize.first, oSize.second, bBlue);
                const auto     auiAll  = Compose(oBoard.GetView(), oShown, bBlue, uiWidth, ro.uiHeight).auiRgba;
                size_t         uiWrong = 0;
                for (size_t ui = 0; ui < auiAll.size(); ++ui) uiWrong += auiAll[ui] == ro.auiRgba[ui] ? 0u : 1u;
                return uiWrong <= (oSize.first == 40 ? auiAll.size() / 16 : 0);
            });
        };
        const auto fResize = [](int iW, int iH) {
            for (Uint32 uiWindow = 1; uiWindow < 100; ++uiWindow) SDL_SetWindowSize(SDL_GetWindowFromID(uiWindow), iW, iH);
        };
        const auto fPerson = [&] {
            fAwait("the picture", false, 1040);
            oDrawing.Resume();
            oDrawing.Await();
            fAwait("what is drawn", true, 1040);
            fResize(700, 180);
            fAwait("the picture, in a smaller window", true, 700);
            fResize(100, 30);
            AwaitFrame("a window without room", [](const SPicture& ro) { return ro.uiWidth == 100; });
            fResize(1040, 490);
            fAwait("the picture, in a larger window", true, 1040);
            Expect("progress 50", 0, "");
            fAwait("the bar", true, 1040);
            fs::remove(At("board.state"));
            fAwait("no board", true, 1040);
            Push(SDL_KEYDOWN, SDLK_q);
        };
        EXPECT_EQ(Watch(fPerson), 0);
    }
}
}
