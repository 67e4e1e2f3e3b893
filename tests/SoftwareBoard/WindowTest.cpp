// The window of watch, in SDL's driver without a screen. That driver saves what the window shows as a file, a frame after a
// frame. Events are those that a person or the system would cause.
#include <SDL.h>

#include "PanelWorld.h"
#include "Signals.h"
#include "Watch.h"

namespace
{
constexpr Colour BAR = {62, 96, 140};

struct SBox
{
    int  iLeft = INT_MAX, iTop = INT_MAX, iRight = -1, iBottom = -1, iPixels = 0;
    void Add(int iX, int iY)
    {
        ++iPixels;
        iLeft = std::min(iLeft, iX), iRight = std::max(iRight, iX);
        iTop = std::min(iTop, iY), iBottom = std::max(iBottom, iY);
    }
};

// What the window shows.
struct Frame
{
    explicit Frame(const std::string& strFile)
    {
        SDL_Surface* const poFile = SDL_LoadBMP(strFile.c_str());  // null for one that is not whole yet
        if (poFile == nullptr) return;
        SDL_Surface* const po = SDL_ConvertSurfaceFormat(poFile, SDL_PIXELFORMAT_RGB24, 0);
        iWidth = po->w, iHeight = po->h;
        for (int iY = 0; iY < iHeight; ++iY)
        {
            const Uint8* const pui = static_cast<const Uint8*>(po->pixels) + iY * po->pitch;
            auiRgb.insert(auiRgb.end(), pui, pui + 3 * iWidth);
        }
        SDL_FreeSurface(po), SDL_FreeSurface(poFile);
    }
    Colour At(int iX, int iY) const
    {
        const auto i = auiRgb.begin() + 3 * (iY * iWidth + iX);
        return {i[0], i[1], i[2]};
    }
    // Where these colours are between two columns. Colours that a scaled edge mixes do not count.
    SBox Find(std::initializer_list<Colour> aoColours, int iFrom, int iTo) const
    {
        SBox oBox;
        for (int iAt = 0; iAt < (iTo - iFrom) * iHeight; ++iAt)
        {
            const int iX = iFrom + iAt % (iTo - iFrom), iY = iAt / (iTo - iFrom);
            if (std::find(aoColours.begin(), aoColours.end(), At(iX, iY)) != aoColours.end()) oBox.Add(iX, iY);
        }
        return oBox;
    }
    int iWidth = 0, iHeight = 0;

    std::vector<Uint8> auiRgb;
};

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
    void AwaitFrame(const std::string& strWhat, const std::function<bool(const Frame&)>& fIsIt)
    {
        const auto oEnd = std::chrono::steady_clock::now() + std::chrono::seconds(LONGEST_SEC);
        for (std::string strNewest; std::chrono::steady_clock::now() < oEnd; usleep(5000))
        {
            for (const auto& ro : fs::directory_iterator(At("frames"))) strNewest = std::max(strNewest, ro.path().string());
            if (strNewest == m_strLast) continue;
            const Frame oFrame(strNewest);
            if (oFrame.iWidth == 0) continue;
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
            SoftwareBoard::Viewer::WatchedBoard oBoard(0, true);
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
        const auto fAny = [](const Frame& ro) { return ro.iWidth > 0; };
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

// Whether each half of a window has the picture as large as it fits above its caption, with a blue middle or without one.
bool HasPictures(const Frame& roFrame, int iWidth, int iHeight, bool bBlue)
{
    const int    iTileWidth = (roFrame.iWidth - 24) / 2, iTileHeight = roFrame.iHeight - 40;
    const int    iRoomHeight = iTileHeight - (iTileHeight < 144 ? 24 : 48);
    const double fScale      = std::min(1.0 * iTileWidth / iWidth, 1.0 * iRoomHeight / iHeight);
    const auto   fIsNear     = [&](double fFound, double fExpected) { return std::abs(fFound - fExpected) <= 2 + fScale; };
    for (const int iHalf : {0, 1})
    {
        const int    iFrom = 8 + iHalf * (iTileWidth + 8), iTo = iFrom + iTileWidth;
        const double fLeft = (iFrom + iTo - fScale * iWidth) / 2, fTop = 8 + (iRoomHeight - fScale * iHeight) / 2;
        const SBox   oWhole = roFrame.Find({GREEN, BLUE}, iFrom, iTo), oBlue = roFrame.Find({BLUE}, iFrom, iTo);
        for (const auto& [oBox, fShare] : {std::pair(oWhole, 1.0), {oBlue, bBlue ? 0.5 : 0.0}})
        {
            const double fPixels = fScale * fScale * iWidth * iHeight * fShare * fShare;
            if (std::abs(oBox.iPixels - fPixels) > fPixels / 8) return false;
            const double fBefore = (1 - fShare) / 2, fAfter = (1 + fShare) / 2;
            if (fShare > 0 && !(fIsNear(oBox.iLeft, fLeft + fScale * iWidth * fBefore) &&
                                fIsNear(oBox.iTop, fTop + fScale * iHeight * fBefore) &&
                                fIsNear(oBox.iRight + 1, fLeft + fScale * iWidth * fAfter) &&
                                fIsNear(oBox.iBottom + 1, fTop + fScale * iHeight * fAfter)))
                return false;
        }
    }
    return true;
}

TEST_F(WindowTest, BothTilesShowThePictureAsLargeAsFitsAndFollowIt)
{
    for (const auto& [iWidth, iHeight] : {std::pair{1024, 768}, {508, 381}, {40, 30}})  // smaller, as it is, and enlarged
    {
        SCOPED_TRACE(iWidth);
        Expect("create", 0, "");
        Drawing    oDrawing(static_cast<KUINT32>(iWidth), static_cast<KUINT32>(iHeight));
        const auto fHas = [iW = iWidth, iH = iHeight](bool bBlue) {
            return [=](const Frame& ro) { return HasPictures(ro, iW, iH, bBlue); };
        };
        const auto fResize = [](int iW, int iH) {
            for (Uint32 uiWindow = 1; uiWindow < 100; ++uiWindow) SDL_SetWindowSize(SDL_GetWindowFromID(uiWindow), iW, iH);
        };
        EXPECT_EQ(
            Watch([&] {
                AwaitFrame("the picture", fHas(false));
                oDrawing.Resume();
                oDrawing.Await();
                AwaitFrame("what is drawn", fHas(true));
                fResize(700, 400);
                AwaitFrame("the picture, in a smaller window", fHas(true));
                fResize(100, 30);
                AwaitFrame("a window without room", [](const Frame& ro) { return ro.iWidth == 100; });
                fResize(1040, 490);
                AwaitFrame("the picture, in a larger window", fHas(true));
                Expect("progress 50", 0, "");
                AwaitFrame("the bar", [](const Frame& ro) {
                    const auto fIsBar = [&](int iX) { return ro.At(iX, ro.iHeight - 2) == BAR; };
                    return fIsBar(0) && fIsBar(519) && !fIsBar(520) && !fIsBar(1039);
                });
                fs::remove(At("board.state"));
                AwaitFrame("no board", [](const Frame& ro) { return ro.Find({GREEN, BLUE, BAR}, 0, 1040).iPixels == 0; });
                Press(SDLK_q);
            }),
            0);
    }
}
}
