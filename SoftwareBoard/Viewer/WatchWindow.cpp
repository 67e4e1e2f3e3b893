#include <algorithm>
#include <cstdlib>

#include <SDL.h>

#include "BoardError.h"
#include "Signals.h"
#include "Text.h"
#include "Tiling.h"
#include "Watch.h"

namespace SoftwareBoard::Viewer
{
namespace
{
constexpr int TEXT_ROW = 24;  // pixels
constexpr int MARGIN   = 8;

constexpr STextColours CAPTION_COLOURS = {.auiInk = {210, 214, 220}, .auiPaper = {40, 44, 52}};

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
    void operator()(SDL_Renderer* po) const { SDL_DestroyRenderer(po); }
    void operator()(SDL_Texture* po) const { SDL_DestroyTexture(po); }
};
template <class T> using Owned = std::unique_ptr<T, SDestroy>;

void FillTexture(SDL_Texture* poTexture, const Panel::SPicture& roPicture)
{
    SDL_UpdateTexture(poTexture, nullptr, roPicture.auiRgba.data(), static_cast<int>(roPicture.GetPitchInBytes()));
}

class Window
{
public:
    explicit Window(WatchedBoard& roBoard);

    void Draw();
    // Waits at most oWait for events of the window. Returns false if the user closes it.
    bool HandleEvents(std::chrono::milliseconds oWait, bool& rbRedraw) const;

private:
    struct STile
    {
        std::shared_ptr<const Panel::SPicture> poPicture;
        Owned<SDL_Texture>                     poTexture;
    };

    STiling            LayOut(int iWidth, int iHeight) const;
    void               DrawTile(size_t uiOutput, const SDL_Rect& roTile, int iCaptionHeight);
    void               DrawLine(const std::string& strText, const SDL_Rect& roRoom, const STextColours& roColours) const;
    void               ChangePicture(STile& roTile, const std::shared_ptr<const Panel::SPicture>& rpoPicture) const;
    void               DrawProgress(int iWidth, int iY) const;
    Owned<SDL_Texture> MakeTexture(const Panel::SPicture& roPicture) const;
    void               Fill(const SDL_Rect& roRect, KUINT8 uiRed, KUINT8 uiGreen, KUINT8 uiBlue) const;

    WatchedBoard&       m_roBoard;
    Sdl                 m_oSdl;
    Owned<SDL_Window>   m_poWindow;
    Owned<SDL_Renderer> m_poRenderer;
    std::vector<STile>  m_aoTiles;
};

Window::Window(WatchedBoard& roBoard) : m_roBoard(roBoard)
{
    m_poWindow.reset(SDL_CreateWindow(("Board " + roBoard.GetTitle()).c_str(), SDL_WINDOWPOS_UNDEFINED,
                                      SDL_WINDOWPOS_UNDEFINED, 1040, 490, SDL_WINDOW_RESIZABLE));
    if (m_poWindow == nullptr)
        ThrowSdlError("SDL_CreateWindow", "");
    m_poRenderer.reset(SDL_CreateRenderer(m_poWindow.get(), -1, 0));
    if (m_poRenderer == nullptr)
        ThrowSdlError("SDL_CreateRenderer", "");
    SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "linear");
}

void Window::Fill(const SDL_Rect& roRect, KUINT8 uiRed, KUINT8 uiGreen, KUINT8 uiBlue) const
{
    SDL_SetRenderDrawColor(m_poRenderer.get(), uiRed, uiGreen, uiBlue, 255);
    SDL_RenderFillRect(m_poRenderer.get(), &roRect);
}

Owned<SDL_Texture> Window::MakeTexture(const Panel::SPicture& roPicture) const
{
    return Owned<SDL_Texture>(SDL_CreateTexture(m_poRenderer.get(), SDL_PIXELFORMAT_ABGR8888, SDL_TEXTUREACCESS_STREAMING,
                                                static_cast<int>(roPicture.uiWidth), static_cast<int>(roPicture.uiHeight)));
}

// Draws one row of text, cut to the width of roRoom.
void Window::DrawLine(const std::string& strText, const SDL_Rect& roRoom, const STextColours& roColours) const
{
    const std::string        strCut    = CutText(strText, FitsPixels(roRoom.w));
    const auto               uiWidth   = static_cast<KUINT32>(std::max(TextWidth(strCut), 1));
    const Panel::SPicture    oText     = DrawText(strCut, uiWidth, TEXT_ROW, roColours, false);
    const Owned<SDL_Texture> poTexture = MakeTexture(oText);
    if (poTexture == nullptr)
        return;
    FillTexture(poTexture.get(), oText);
    const SDL_Rect oPlace = {roRoom.x, roRoom.y, static_cast<int>(uiWidth), TEXT_ROW};
    SDL_RenderCopy(m_poRenderer.get(), poTexture.get(), nullptr, &oPlace);
}

// Keeps the texture if the new picture has the size of the old one.
void Window::ChangePicture(STile& roTile, const std::shared_ptr<const Panel::SPicture>& rpoPicture) const
{
    const auto fSize = [](const Panel::SPicture& ro) { return std::pair(ro.uiWidth, ro.uiHeight); };
    if (roTile.poTexture == nullptr || rpoPicture == nullptr || fSize(*roTile.poPicture) != fSize(*rpoPicture))
        roTile.poTexture = rpoPicture != nullptr ? MakeTexture(*rpoPicture) : nullptr;
    if (roTile.poTexture != nullptr)
        FillTexture(roTile.poTexture.get(), *rpoPicture);
    roTile.poPicture = rpoPicture;
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
    Fill(oScreen, 20, 22, 26);

    STile& roDrawn = m_aoTiles[uiOutput];
    if (roDrawn.poPicture != roOutput.poPicture)
        ChangePicture(roDrawn, roOutput.poPicture);
    if (roDrawn.poTexture == nullptr)
        return;
    const auto& [uiWidth, uiHeight, auiRgba] = *roDrawn.poPicture;
    const auto [iWidth, iHeight]             = FitPicture(uiWidth, uiHeight, oScreen.w, oScreen.h);
    const SDL_Rect oPlace = {oScreen.x + (oScreen.w - iWidth) / 2, oScreen.y + (oScreen.h - iHeight) / 2, iWidth, iHeight};
    SDL_RenderCopy(m_poRenderer.get(), roDrawn.poTexture.get(), nullptr, &oPlace);
}

// Draws the bar over the whole row, with the text in it.
void Window::DrawProgress(int iWidth, int iY) const
{
    const SBoardView& roView = m_roBoard.GetView();
    const int         iBar   = iWidth * static_cast<int>(std::min(roView.uiProgressPct, 100u)) / 100;
    const SDL_Rect    oBar = {0, iY, iBar, TEXT_ROW}, oRest = {iBar, iY, iWidth - iBar, TEXT_ROW};
    const SDL_Rect    oWords = {MARGIN, iY, iWidth - MARGIN, TEXT_ROW};
    Fill(oBar, BAR_COLOURS.auiPaper[0], BAR_COLOURS.auiPaper[1], BAR_COLOURS.auiPaper[2]);
    for (const auto& [oPart, oColours] : {std::pair(oBar, BAR_COLOURS), std::pair(oRest, CAPTION_COLOURS)})
    {
        SDL_RenderSetClipRect(m_poRenderer.get(), &oPart);
        DrawLine(DescribeProgress(roView), oWords, oColours);
    }
    SDL_RenderSetClipRect(m_poRenderer.get(), nullptr);
}

void Window::Draw()
{
    int iWidth = 0, iHeight = 0;
    SDL_GetRendererOutputSize(m_poRenderer.get(), &iWidth, &iHeight);
    const SBoardView& roView = m_roBoard.GetView();
    SDL_SetRenderDrawColor(m_poRenderer.get(), 40, 44, 52, 255);
    SDL_RenderClear(m_poRenderer.get());

    if (!roView.strProblem.empty())
        DrawLine(roView.strProblem, {MARGIN, MARGIN, iWidth - 2 * MARGIN, TEXT_ROW}, CAPTION_COLOURS);
    else
    {
        const STiling oTiling = LayOut(iWidth, iHeight);
        m_aoTiles.resize(roView.aoOutputs.size());
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
    SDL_RenderPresent(m_poRenderer.get());
}

bool Window::HandleEvents(std::chrono::milliseconds oWait, bool& rbRedraw) const
{
    SDL_Event oEvent = {};
    for (int iGot = SDL_WaitEventTimeout(&oEvent, static_cast<int>(oWait.count())); iGot != 0; iGot = SDL_PollEvent(&oEvent))
    {
        const bool bKey = oEvent.type == SDL_KEYDOWN;
        if (oEvent.type == SDL_QUIT || (bKey && (oEvent.key.keysym.sym == SDLK_ESCAPE || oEvent.key.keysym.sym == SDLK_q)))
            return false;
        rbRedraw = rbRedraw || oEvent.type == SDL_WINDOWEVENT;
    }
    return true;
}
}

void WatchInWindow(WatchedBoard& roBoard)
{
    const Panel::Signals oSignals;
    Window               oWindow(roBoard);
    bool                 bRedraw = true;
    while (true)
    {
        const auto oUpdateBegan = std::chrono::steady_clock::now();
        if (roBoard.Update() || bRedraw)
            oWindow.Draw();
        bRedraw = false;
        if (!oWindow.HandleEvents(roBoard.GetPause(oUpdateBegan), bRedraw))
            return;
        const int iSignal = oSignals.Wait(std::chrono::milliseconds(0));
        if (iSignal == SIGINT || iSignal == SIGTERM)
            return;
        if (iSignal != 0)
            throw Panel::EndedBySignal{iSignal};
    }
}
}
