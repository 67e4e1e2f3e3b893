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

// What the window shows; without pixels for a file that is not whole yet.
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

KUINT32& PixelOf(SPicture& ro, int iX, int iY)
{
    return reinterpret_cast<KUINT32*>(ro.auiRgba.data())[static_cast<KUINT32>(iY) * ro.uiWidth + static_cast<KUINT32>(iX)];
}

// Puts what is left of iEnd.
void Put(SPicture& roOn, SPicture o, int iX, int iY, int iEnd = INT_MAX)
{
    for (int y = 0; y < static_cast<int>(o.uiHeight); ++y)
        for (int x = 0; x < std::min(static_cast<int>(o.uiWidth), iEnd - iX); ++x)
            PixelOf(roOn, iX + x, iY + y) = PixelOf(o, x, y);
}

SPicture Plain(int iWidth, int iHeight, const Colour& roColour)
{
    return MakePlain(static_cast<KUINT32>(iWidth), static_cast<KUINT32>(iHeight), roColour);
}

SPicture Line(const std::string& strText, int iRoom, const STextColours& roColours)
{
    const std::string strCut = CutText(strText, FitsPixels(iRoom));
    return DrawText(strCut, static_cast<KUINT32>(TextWidth(strCut)), 24, roColours, false);
}

// The window in which both outputs show the picture, made of parts that other tests try. An enlarged one is not smoothed.
SPicture Compose(const SBoardView& roView, SPicture oShown, int iWidth, int iHeight)
{
    SPicture oAll = Plain(iWidth, iHeight, CAPTION.auiPaper);
    if (!roView.strProblem.empty()) return Put(oAll, Line(roView.strProblem, iWidth - 16, CAPTION), 8, 8), oAll;
    const int iTileWidth = (iWidth - 24) / 2, iTileHeight = iHeight - 40, iRows = iTileHeight < 144 ? 1 : 2;
    const int iRoom                          = iTileHeight - iRows * 24;
    const auto [iScaledWidth, iScaledHeight] = FitPicture(oShown.uiWidth, oShown.uiHeight, iTileWidth, iRoom);
    SPicture oScaled                         = Plain(iScaledWidth, iScaledHeight, {});
    ScaleDown(oShown, oScaled.uiWidth <= oShown.uiWidth ? WholeOf(oShown) : SArea{}, oScaled);
    for (int iAt = 0; oScaled.uiWidth > oShown.uiWidth && iAt < iScaledWidth * iScaledHeight; ++iAt)
        PixelOf(oScaled, iAt % iScaledWidth, iAt / iScaledWidth) =
            PixelOf(oShown, iAt % iScaledWidth * 40 / iScaledWidth, iAt / iScaledWidth * 30 / iScaledHeight);
    for (size_t uiOutput = 0; uiOutput < 2; ++uiOutput)
    {
        const int iX = uiOutput == 0 ? 8 : 16 + iTileWidth;
        Put(oAll, Plain(iTileWidth, iRoom, {20, 22, 26}), iX, 8);
        Put(oAll, oScaled, iX + (iTileWidth - iScaledWidth) / 2, 8 + (iRoom - iScaledHeight) / 2);
        for (int iY = 8 + iRoom; const auto& ro : CaptionOutput(uiOutput, roView.aoOutputs[uiOutput],
                                                                static_cast<size_t>(iRows), FitsPixels(iTileWidth)))
            Put(oAll, Line(ro, iTileWidth, CAPTION), iX, std::exchange(iY, iY + 24));
    }
    const int iBar = iWidth * static_cast<int>(roView.uiProgressPct) / 100;
    Put(oAll, Plain(iBar, 24, BAR.auiPaper), 0, iHeight - 24);
    Put(oAll, Line(DescribeProgress(roView), iWidth, CAPTION), 8, iHeight - 24);
    Put(oAll, Line(DescribeProgress(roView), iWidth, BAR), 8, iHeight - 24, iBar);
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

    // Waits until the window has shown something new that passes the test.
    void AwaitFrame(const std::string& strWhat, const std::function<bool(SPicture&)>& fIsIt)
    {
        const auto oEnd = std::chrono::steady_clock::now() + std::chrono::seconds(LONGEST_SEC);
        for (std::string strNewest; std::chrono::steady_clock::now() < oEnd; usleep(5000))
        {
            for (const auto& ro : fs::directory_iterator(At("frames"))) strNewest = std::max(strNewest, ro.path().string());
            if (strNewest == m_strLast) continue;
            SPicture oFrame = ReadFrame(strNewest);
            if (oFrame.uiWidth == 0) continue;
            m_strLast = strNewest;
            if (fIsIt(oFrame)) return;
        }
        ADD_FAILURE() << strWhat << " is never shown; the last frame is of " << m_strLast;
    }
    // Shows the board until the person, who acts meanwhile, closes the window. Returns the signal that ended it, or 0.
    static int Watch(const std::function<void()>& fPerson)
    {
        sigset_t oAll, oBefore;
        sigfillset(&oAll);
        pthread_sigmask(SIG_BLOCK, &oAll, &oBefore);  // so that only the window takes signals
        std::thread oPerson([&] {
            fPerson();
            const auto oEnd = std::chrono::steady_clock::now() + std::chrono::seconds(LONGEST_SEC);
            while (SDL_WasInit(SDL_INIT_VIDEO) != 0 && std::chrono::steady_clock::now() < oEnd) usleep(1000);
            EXPECT_EQ(SDL_WasInit(SDL_INIT_VIDEO), 0u) << "what the person did does not close the window";
            Push({.type = SDL_QUIT});
        });
        int         iSignal = 0;
        try
        {
            WatchedBoard oBoard(0, true);
            WatchInWindow(oBoard);
        }
        catch (const SoftwareBoard::Panel::EndedBySignal& ro)
        {
            iSignal = ro.iSignal;
        }
        oPerson.join();
        pthread_sigmask(SIG_SETMASK, &oBefore, nullptr);
        return iSignal;
    }
    static void Push(SDL_Event o) { SDL_PushEvent(&o); }
    static void Press(SDL_Keycode iKey)
    {
        SDL_Event o      = {.type = SDL_KEYDOWN};
        o.key.keysym.sym = iKey;
        Push(o);
    }

    std::string m_strLast;
};

TEST_F(WindowTest, KeysTheButtonAndSignalsCloseItAndNothingElseDoes)
{
    const std::tuple<std::string, std::function<void()>, int> aoCases[] = {
        {"q", [] { Press(SDLK_q); }, 0},
        {"Escape", [] { Press(SDLK_ESCAPE); }, 0},
        {"the button", [] { Push({.type = SDL_QUIT}); }, 0},
        {"SIGINT", [] { kill(getpid(), SIGINT); }, 0},
        {"SIGTERM", [] { kill(getpid(), SIGTERM); }, 0},
        {"SIGHUP", [] { kill(getpid(), SIGHUP); }, SIGHUP},
    };
    for (const auto& [strWhat, fClose, iSignal] : aoCases)
    {
        SCOPED_TRACE(strWhat);
        const auto fAny = [](SPicture&) { return true; };
        EXPECT_EQ(Watch([&, &fEnd = fClose] {
                      AwaitFrame("the window", fAny);
                      Press(SDLK_x);
                      SDL_Event o      = {.type = SDL_KEYUP};
                      o.key.keysym.sym = SDLK_q;
                      Push(o);
                      Push({.type = SDL_MOUSEBUTTONDOWN});
                      Push({.type = SDL_MOUSEWHEEL});
                      Push({.type = SDL_WINDOWEVENT});
                      AwaitFrame("the window, drawn anew", fAny);
                      fEnd();
                  }),
                  iSignal);
    }
    setenv("SDL_VIDEODRIVER", "none", 1);
    Expect("watch --window", 1, "set DISPLAY or WAYLAND_DISPLAY, or watch without --window");
}

TEST_F(WindowTest, BothTilesShowThePictureAsLargeAsFitsAndFollowIt)
{
    for (const auto& [iWidth, iHeight] : {std::pair{1024, 768}, {508, 381}, {40, 30}})  // smaller, as it is, and enlarged
    {
        SCOPED_TRACE(iWidth);
        Expect("create", 0, "");
        Drawing    oDrawing(static_cast<KUINT32>(iWidth), static_cast<KUINT32>(iHeight));
        const auto fHas = [iW = iWidth, iH = iHeight](bool bBlue, int iExpectedWidth) {
            return [=](SPicture& ro) {
                SPicture oShown = Plain(iW, iH, GREEN);
                if (bBlue) Put(oShown, Plain(iW * 3 / 4 - iW / 4, iH * 3 / 4 - iH / 4, BLUE), iW / 4, iH / 4);
                WatchedBoard oBoard(0, false);
                oBoard.Update();
                SPicture  oAll   = Compose(oBoard.GetView(), oShown, iExpectedWidth, static_cast<int>(ro.uiHeight));
                const int iAll   = iExpectedWidth * static_cast<int>(ro.uiHeight);
                int       iWrong = ro.uiWidth == oAll.uiWidth ? 0 : iAll;
                for (int iAt = 0; iWrong < iAll && iAt < iAll; ++iAt)
                    iWrong += PixelOf(oAll, iAt, 0) != PixelOf(ro, iAt, 0) ? 1 : 0;
                return iWrong <= (iW == 40 ? iAll / 16 : 0);
            };
        };
        const auto fResize = [](int iW, int iH) {
            for (Uint32 uiWindow = 1; uiWindow < 100; ++uiWindow) SDL_SetWindowSize(SDL_GetWindowFromID(uiWindow), iW, iH);
        };
        EXPECT_EQ(Watch([&] {
                      AwaitFrame("the picture", fHas(false, 1040));
                      oDrawing.Resume();
                      oDrawing.Await();
                      AwaitFrame("what is drawn", fHas(true, 1040));
                      fResize(700, 400);
                      AwaitFrame("the picture, in a smaller window", fHas(true, 700));
                      fResize(100, 30);
                      AwaitFrame("a window without room", [](SPicture& ro) { return ro.uiWidth == 100; });
                      fResize(1040, 490);
                      AwaitFrame("the picture, in a larger window", fHas(true, 1040));
                      Expect("progress 50", 0, "");
                      AwaitFrame("the bar", fHas(true, 1040));
                      fs::remove(At("board.state"));
                      AwaitFrame("no board", fHas(true, 1040));
                      Press(SDLK_q);
                  }),
                  0);
    }
}
}
