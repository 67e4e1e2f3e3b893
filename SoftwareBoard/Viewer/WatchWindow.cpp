#include <algorithm>
#include <cstdlib>
#include <list>
#include <map>
#include <tuple>

#include <SDL.h>

#include "BoardError.h"
#include "Signals.h"
#include "Text.h"
#include "Tiling.h"
#include "Waker.h"
#include "Watch.h"

namespace SoftwareBoard::Viewer
{
namespace
{
constexpr int TEXT_ROW = 24;  // pixels
constexpr int MARGIN   = 8;

constexpr size_t MOST_LINES = 200;  // of text, to keep as they were drawn

constexpr std::chrono::milliseconds SHORT_WAIT(66);  // for which nothing need wake SDL

constexpr STextColours CAPTION_COLOURS = {.auiInk = {210, 214, 220}, .auiPaper = {40, 44, 52}};

constexpr std::array<KUINT8, 3> SCREEN_COLOUR = {20, 22, 26};  // around a picture

constexpr STextColours BAR_COLOURS = {.auiInk = {210, 214, 220}, .auiPaper = {62, 96, 140}};

// A tile has two rows for its caption, unless it is so low that the picture needs the second.
int CaptionHeight(int, int iTileHeight)
{
    return std::min(iTileHeight >= 6 * TEXT_ROW ? 2 : 1, iTileHeight / TEXT_ROW) * TEXT_ROW;
}

[[noreturn]] void ThrowSdlError(const char* pszCall, const char* pszAdvice)
{
    throw BoardError(std::string("the window: ") + pszCall + ": " + SDL_GetError() + pszAdvice);
}

// Starts SDL, and ends it after the window is gone.
class Sdl
{
public:
    Sdl()
    {
        SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
        SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
        // Few pixels change at a time, and only those are sent. A renderer would draw the whole window for each.
        SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
        // SDL's other drivers show no window to anybody. SDL_VIDEODRIVER overrides this.
        SDL_SetHint(SDL_HINT_VIDEODRIVER, std::getenv("WAYLAND_DISPLAY") != nullptr ? "x11,wayland" : "x11");
        if (SDL_Init(SDL_INIT_VIDEO) != 0)
            ThrowSdlError("SDL_Init", "; set DISPLAY or WAYLAND_DISPLAY, or watch without --window");
    }
    ~Sdl() { SDL_Quit(); }
    Sdl(const Sdl&)            = delete;
    Sdl& operator=(const Sdl&) = delete;
};

struct SDestroy
{
    void operator()(SDL_Window* po) const { SDL_DestroyWindow(po); }
    void operator()(SDL_Surface* po) const { SDL_FreeSurface(po); }
};
template <class T> using Owned = std::unique_ptr<T, SDestroy>;

class Window
{
public:
    explicit Window(WatchedBoard& roBoard);

    // Draws everything anew or, if nothing else has changed, only the pixels that have.
    void Draw(bool bAnew);
    // Waits at most oWait for events of the window. Returns false if the user closes it.
    static bool HandleEvents(std::chrono::milliseconds oWait, bool& rbRedraw, Waker& roWaker);

private:
    // A watched picture, as large as it is shown or, if that is larger, as it is. Outputs that show the same share it.
    struct SDrawn
    {
        std::shared_ptr<const WatchedPicture> poPicture;
        std::pair<int, int>                   oSize;
        KUINT32                               uiVersion = 0;
        Panel::SPicture                       oScaled;   // empty if it is not scaled down
        SArea                                 oChanged;  // by the last Draw
    };
    struct SPlaced
    {
        const SDrawn* poDrawn;
        SDL_Rect      oPlace;
    };

    using LineKey = std::tuple<std::string, int, std::array<KUINT8, 3>>;  // text, width of the room, colour of the paper

    STiling       LayOut(int iWidth, int iHeight) const;
    void          DrawPixels();
    void          DrawTile(size_t uiOutput, const SDL_Rect& roTile, int iCaptionHeight);
    void          DrawLine(const std::string& strText, const SDL_Rect& roRoom, const STextColours& roColours);
    const SDrawn& FindDrawn(const std::shared_ptr<const WatchedPicture>& rpoPicture, std::pair<int, int> oSize);
    static void   Update(SDrawn& roDrawn);
    SDL_Rect      Paste(const SPlaced& roPlaced, const SArea& oArea) const;
    void          DrawProgress(int iWidth, int iY);
    void          Fill(const SDL_Rect& roRect, const std::array<KUINT8, 3>& roColour) const;

    WatchedBoard&        m_roBoard;
    Sdl                  m_oSdl;
    Owned<SDL_Window>    m_poWindow;
    SDL_Surface*         m_poCanvas = nullptr;  // of the window; valid until its size changes
    std::list<SDrawn>    m_oDrawn;              // in this Draw, and then
    std::list<SDrawn>    m_oDrawnLast;          // those of the last one that were not used yet
    SBoardView           m_oShown;              // by the last Draw
    std::vector<SPlaced> m_aoPlaced;

    std::map<LineKey, Owned<SDL_Surface>> m_oLines;
};

// Shares the pixels.
Owned<SDL_Surface> MakeSurface(const Panel::SPicture& roPicture)
{
    void* const        pPixels = const_cast<KUINT8*>(roPicture.auiRgba.data());  // SDL only reads them
    Owned<SDL_Surface> poSurface(SDL_CreateRGBSurfaceWithFormatFrom(
        pPixels, static_cast<int>(roPicture.uiWidth), static_cast<int>(roPicture.uiHeight), 32,
        static_cast<int>(roPicture.GetPitchInBytes()), SDL_PIXELFORMAT_ABGR8888));
    SDL_SetSurfaceBlendMode(poSurface.get(), SDL_BLENDMODE_NONE);
    return poSurface;
}

Window::Window(WatchedBoard& roBoard) : m_roBoard(roBoard)
{
    m_poWindow.reset(SDL_CreateWindow(("Board " + roBoard.GetTitle()).c_str(), SDL_WINDOWPOS_UNDEFINED,
                                      SDL_WINDOWPOS_UNDEFINED, 1040, 490, SDL_WINDOW_RESIZABLE));
    if (m_poWindow == nullptr)
        ThrowSdlError("SDL_CreateWindow", "");
}

void Window::Fill(const SDL_Rect& roRect, const std::array<KUINT8, 3>& roColour) const
{
    SDL_FillRect(m_poCanvas, &roRect, SDL_MapRGB(m_poCanvas->format, roColour[0], roColour[1], roColour[2]));
}

// Draws one row of text, cut to the width of roRoom.
void Window::DrawLine(const std::string& strText, const SDL_Rect& roRoom, const STextColours& roColours)
{
    Owned<SDL_Surface>& rpoLine = m_oLines[{strText, roRoom.w, roColours.auiPaper}];
    if (rpoLine == nullptr)
    {
        const std::string     strCut  = CutText(strText, FitsPixels(roRoom.w));
        const auto            uiWidth = static_cast<KUINT32>(std::max(TextWidth(strCut), 1));
        const Panel::SPicture oText   = DrawText(strCut, uiWidth, TEXT_ROW, roColours, false);
        rpoLine.reset(SDL_ConvertSurfaceFormat(MakeSurface(oText).get(), SDL_PIXELFORMAT_ABGR8888, 0));
    }
    SDL_Rect oPlace = {roRoom.x, roRoom.y, roRoom.w, TEXT_ROW};
    SDL_BlitSurface(rpoLine.get(), nullptr, m_poCanvas, &oPlace);
}

const Window::SDrawn& Window::FindDrawn(const std::shared_ptr<const WatchedPicture>& rpoPicture, std::pair<int, int> oSize)
{
    const auto fIsIt = [&](const SDrawn& ro) { return ro.poPicture == rpoPicture && ro.oSize == oSize; };
    if (const auto i = std::find_if(m_oDrawn.begin(), m_oDrawn.end(), fIsIt); i != m_oDrawn.end())
        return *i;
    if (const auto i = std::find_if(m_oDrawnLast.begin(), m_oDrawnLast.end(), fIsIt); i != m_oDrawnLast.end())
    {
        m_oDrawn.splice(m_oDrawn.end(), m_oDrawnLast, i);
        Update(*i);
        return *i;
    }
    const Panel::SPicture& roPixels = rpoPicture->GetPixels();
    SDrawn&                roDrawn  = m_oDrawn.emplace_back(SDrawn{rpoPicture, oSize, rpoPicture->GetVersion(), {}, {}});
    if (static_cast<KUINT32>(oSize.first) < roPixels.uiWidth && static_cast<KUINT32>(oSize.second) < roPixels.uiHeight)
    {
        roDrawn.oScaled = MakePlain(static_cast<KUINT32>(oSize.first), static_cast<KUINT32>(oSize.second));
        ScaleDown(roPixels, WholeOf(roPixels), roDrawn.oScaled);
    }
    return roDrawn;
}

void Window::Update(SDrawn& roDrawn)
{
    const KUINT32          uiBefore = std::exchange(roDrawn.uiVersion, roDrawn.poPicture->GetVersion());
    const Panel::SPicture& roPixels = roDrawn.poPicture->GetPixels();
    roDrawn.oChanged                = uiBefore == roDrawn.uiVersion       ? SArea{}
                                      : uiBefore + 1 == roDrawn.uiVersion ? roDrawn.poPicture->GetChanged()
                                                                          : WholeOf(roPixels);
    if (!roDrawn.oScaled.auiRgba.empty())
        roDrawn.oChanged = ScaleDown(roPixels, roDrawn.oChanged, roDrawn.oScaled);
}

// Draws this area of a picture, or all of it if the picture is enlarged. Returns where on the window that is.
SDL_Rect Window::Paste(const SPlaced& roPlaced, const SArea& oArea) const
{
    const SDrawn&            roDrawn   = *roPlaced.poDrawn;
    const bool               bScaled   = !roDrawn.oScaled.auiRgba.empty();
    const Owned<SDL_Surface> poSurface = MakeSurface(bScaled ? roDrawn.oScaled : roDrawn.poPicture->GetPixels());
    SDL_Rect                 oTo       = roPlaced.oPlace;
    if (poSurface == nullptr)
        return oTo;
    if (poSurface->w != oTo.w || poSurface->h != oTo.h)
    {
        const Owned<SDL_Surface> poLike(SDL_ConvertSurface(poSurface.get(), m_poCanvas->format, 0));
        SDL_SoftStretchLinear(poLike.get(), nullptr, m_poCanvas, &oTo);
        return oTo;
    }
    const SDL_Rect oFrom = {static_cast<int>(oArea.uiLeft), static_cast<int>(oArea.uiTop),
                            static_cast<int>(oArea.uiRight - oArea.uiLeft), static_cast<int>(oArea.uiBottom - oArea.uiTop)};
    oTo                  = {oTo.x + oFrom.x, oTo.y + oFrom.y, oFrom.w, oFrom.h};
    SDL_BlitSurface(poSurface.get(), &oFrom, m_poCanvas, &oTo);
    return oTo;
}

STiling Window::LayOut(int iWidth, int iHeight) const
{
    const auto [uiWidth, uiHeight] = UsualSize(m_roBoard.GetView());
    return ChooseTiling({.iTiles            = static_cast<int>(m_roBoard.GetView().aoOutputs.size()),
                         .iWidth            = iWidth - 2 * MARGIN,
                         .iHeight           = iHeight - 2 * MARGIN - TEXT_ROW,
                         .iGapAcross        = MARGIN,
                         .iGapDown          = MARGIN,
                         .fPictureWidth     = double{1} * uiWidth,
                         .fPictureHeight    = double{1} * uiHeight,
                         .fGetCaptionHeight = CaptionHeight});
}

void Window::DrawTile(size_t uiOutput, const SDL_Rect& roTile, int iCaptionHeight)
{
    const SOutputView& roOutput = m_roBoard.GetView().aoOutputs[uiOutput];
    const SDL_Rect     oScreen  = {roTile.x, roTile.y, roTile.w, std::max(roTile.h - iCaptionHeight, 1)};
    const auto         uiRows   = static_cast<size_t>(iCaptionHeight / TEXT_ROW);
    int                iY       = oScreen.y + oScreen.h;
    for (const std::string& strText : CaptionOutput(uiOutput, roOutput, uiRows, FitsPixels(roTile.w)))
    {
        DrawLine(strText, {roTile.x, iY, roTile.w, TEXT_ROW}, CAPTION_COLOURS);
        iY += TEXT_ROW;
    }
    Fill(oScreen, SCREEN_COLOUR);

    if (roOutput.poPicture == nullptr)
        return;
    const auto& [uiWidth, uiHeight, auiRgba] = roOutput.poPicture->GetPixels();
    const auto [iWidth, iHeight]             = FitPicture(uiWidth, uiHeight, oScreen.w, oScreen.h);
    const SDL_Rect oPlace = {oScreen.x + (oScreen.w - iWidth) / 2, oScreen.y + (oScreen.h - iHeight) / 2, iWidth, iHeight};
    m_aoPlaced.push_back({&FindDrawn(roOutput.poPicture, {iWidth, iHeight}), oPlace});
    Paste(m_aoPlaced.back(), {0, 0, static_cast<KUINT32>(iWidth), static_cast<KUINT32>(iHeight)});
}

// Draws the bar over the whole row, with the text in it.
void Window::DrawProgress(int iWidth, int iY)
{
    const SBoardView& roView = m_roBoard.GetView();
    const int         iBar   = iWidth * static_cast<int>(roView.uiProgressPct) / 100;  // SDL cuts what is above 100 %
    const SDL_Rect    oBar = {0, iY, iBar, TEXT_ROW}, oRest = {iBar, iY, iWidth - iBar, TEXT_ROW};
    const SDL_Rect    oWords = {MARGIN, iY, iWidth - MARGIN, TEXT_ROW};
    Fill(oBar, BAR_COLOURS.auiPaper);
    for (const auto& [oPart, oColours] : {std::pair(oBar, BAR_COLOURS), std::pair(oRest, CAPTION_COLOURS)})
    {
        SDL_SetClipRect(m_poCanvas, &oPart);
        DrawLine(DescribeProgress(roView), oWords, oColours);
    }
    SDL_SetClipRect(m_poCanvas, nullptr);
}

// Everything else stays as it is.
void Window::DrawPixels()
{
    std::vector<SDL_Rect> aoChanged;
    for (SDrawn& roDrawn : m_oDrawn)
        Update(roDrawn);
    for (const SPlaced& roPlaced : m_aoPlaced)
    {
        if (!roPlaced.poDrawn->oChanged.IsEmpty())
            aoChanged.push_back(Paste(roPlaced, roPlaced.poDrawn->oChanged));
    }
    SDL_UpdateWindowSurfaceRects(m_poWindow.get(), aoChanged.data(), static_cast<int>(aoChanged.size()));
}

void Window::Draw(bool bAnew)
{
    const SBoardView& roView = m_roBoard.GetView();
    if (!bAnew && IsLikeExceptPixels(m_oShown, roView))
        return DrawPixels();
    m_oShown   = roView;
    m_poCanvas = SDL_GetWindowSurface(m_poWindow.get());
    if (m_poCanvas == nullptr)
        ThrowSdlError("SDL_GetWindowSurface", "");
    m_aoPlaced.clear();
    m_oDrawnLast = std::exchange(m_oDrawn, {});
    if (m_oLines.size() > MOST_LINES)
        m_oLines.clear();
    const int iWidth = m_poCanvas->w, iHeight = m_poCanvas->h;
    Fill({0, 0, iWidth, iHeight}, CAPTION_COLOURS.auiPaper);

    if (!roView.strProblem.empty())
        DrawLine(roView.strProblem, {MARGIN, MARGIN, iWidth - 2 * MARGIN, TEXT_ROW}, CAPTION_COLOURS);
    else
    {
        const STiling oTiling = LayOut(iWidth, iHeight);
        for (size_t uiOutput = 0; uiOutput < roView.aoOutputs.size(); ++uiOutput)
        {
            const int      iAt   = static_cast<int>(uiOutput);
            const SDL_Rect oTile = {MARGIN + iAt % oTiling.iAcross * (oTiling.iTileWidth + MARGIN),
                                    MARGIN + iAt / oTiling.iAcross * (oTiling.iTileHeight + MARGIN), oTiling.iTileWidth,
                                    oTiling.iTileHeight};
            DrawTile(uiOutput, oTile, oTiling.iCaptionHeight);
        }
        DrawProgress(iWidth, iHeight - TEXT_ROW);
    }
    m_oDrawnLast.clear();
    SDL_UpdateWindowSurface(m_poWindow.get());
}

bool Window::HandleEvents(std::chrono::milliseconds oWait, bool& rbRedraw, Waker& roWaker)
{
    SDL_Event oEvent = {};
    for (int iGot = SDL_WaitEventTimeout(&oEvent, static_cast<int>(oWait.count())); iGot != 0; iGot = SDL_PollEvent(&oEvent))
    {
        const bool bKey = oEvent.type == SDL_KEYDOWN;
        if (oEvent.type == SDL_QUIT || (bKey && (oEvent.key.keysym.sym == SDLK_ESCAPE || oEvent.key.keysym.sym == SDLK_q)))
            return false;
        if (oEvent.type == SDL_USEREVENT)
            roWaker.HasWoken();
        rbRedraw = rbRedraw || oEvent.type == SDL_WINDOWEVENT;
    }
    return true;
}
}

void WatchInWindow(WatchedBoard& roBoard)
{
    const Panel::Signals oSignals;
    Window               oWindow(roBoard);
    Waker                oWaker;
    bool                 bRedraw = true;
    while (true)
    {
        const auto oUpdateBegan = std::chrono::steady_clock::now();
        if (roBoard.Update() || bRedraw)
            oWindow.Draw(bRedraw);
        bRedraw           = false;
        const auto oPause = roBoard.GetPause(oUpdateBegan);
        if (oPause.count() < 0 || oPause > SHORT_WAIT)
            oWaker.WakeWhen(oSignals.GetDescriptor(), roBoard.GetChanges());
        if (!Window::HandleEvents(oPause, bRedraw, oWaker))
            return;
        const int iSignal = oSignals.Wait(std::chrono::milliseconds(0));
        if (iSignal == SIGINT || iSignal == SIGTERM)
            return;
        if (iSignal != 0)
            throw Panel::EndedBySignal{iSignal};
    }
}
}
