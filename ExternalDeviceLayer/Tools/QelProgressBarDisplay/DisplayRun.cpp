#include "DisplayRun.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>
#include <type_traits>

#include "BoardRegisters.h"
#include "FpgaFirmwareCheck.h"
#include "OsServices.h"
#include "PngAnimation.h"
#include "ProgressBar.h"
#include "QelCheck.h"
#include "QelColor.h"
#include "QelSurfaceTyped.h"
#include "RectangleAnimation.h"

namespace
{
using CDrawSurface = QelSurfaceTyped<QelColor<TPixelFormat_R8G8B8A8, unsigned int>>;

constexpr KUINT32 LAST_RUNNING_PCT = 99;
constexpr KUINT32 ACCESS_MODE      = 0;
constexpr KUINT32 MAX_PLANES       = std::extent_v<decltype(tagTBuffer_PlaneInfo::auiPitch)>;

// The block of the rectangle animation: its edges at the start, and how far it moves in a step.
constexpr KUINT32 BLOCK_BEGIN_PCT = 0;
constexpr KUINT32 BLOCK_END_PCT   = 50;
constexpr KUINT32 BLOCK_STEP_PCT  = 5;

// The arguments of DisplayProgressBar.
struct SRequest
{
    KUINT32             uiDevIndex;
    const tagTRECT&     roProgressBarRect;
    const char*         pszImageFileName;
    const char*         pszAnimBaseFileName;
    KUINT32             uiAnimStepLoopTimeMs;
    const tagTRECT&     roAnimRect;
    KUINT32             uiEnableTime;
    KBOOL32             bProgressBar;
    KBOOL32             bAnimation;
    tagTVideo_VidParam& oVidParam;
};

// A run in phases. Each phase starts when the one before succeeded, and reports its own failures. The destructor takes back
// what they made.
class CRun
{
public:
    explicit CRun(const SRequest& roRequest) : m_roRequest(roRequest) {}
    CRun(const CRun&) = delete;
    ~CRun();

    TStatus TestRectangles() const;
    TStatus OpenDevice();
    TStatus PaintFirstPicture();
    TStatus ShowOnEveryOutput();
    TStatus Loop();

private:
    TStatus                     BeginAccess();
    std::unique_ptr<QelSurface> NewSurface() const;
    KUINT8*                     Pixels() const { return reinterpret_cast<KUINT8*>(m_apuiBuffer[0]); }
    void                        PaintBackground();
    void                        StartAnimation(QelSurface* poDrawSurface);
    void                        StepAnimation(QelSurface* poDrawSurface);
    void                        StepProgressBar(QelSurface* poDrawSurface);

    const SRequest&      m_roRequest;
    HEvent               m_hEvent                 = nullptr;  // the step timer; nothing triggers it
    TDevice_Handle       m_hDev                   = nullptr;
    TBuffer_Handle       m_hDrawBuffer            = nullptr;
    KUINT32              m_uiNbVideoOut           = 0;
    tagTBuffer_PlaneInfo m_oPlaneInfo             = {};
    KUINTPTR             m_apuiBuffer[MAX_PLANES] = {};  // plane addresses, valid while the buffer is accessed
    KBOOL32              m_bUsePngAnimation       = FALSE;
    SAnimationData       m_oAnimationData         = {};
    SAnimationPngData    m_oAnimationPngData      = {};
    SProgressBarData     m_oProgressBarData       = {};
    RegPROGRESS_UPDATE   m_oProgressReg           = {};  // as last read
};

TStatus CRun::TestRectangles() const
{
    if (!IsRectangleValidInsideVidParam(m_roRequest.roProgressBarRect, m_roRequest.oVidParam))
    {
        std::printf("Progress Bar Rectangle is invalid\n");
        return TStatus_FAIL;
    }
    if (!IsRectangleValidInsideVidParam(m_roRequest.roAnimRect, m_roRequest.oVidParam))
    {
        std::printf("Animation Bar Rectangle is invalid\n");
        return TStatus_FAIL;
    }
    return TStatus_OK;
}

TStatus CRun::OpenDevice()
{
    TStatus eStatus = TStatus_FAIL;

    Tavrin_Load();
    QEL_CHECK_OR_ABORT(g_oOsServices.Event_Create(m_hEvent));
    QEL_CHECK_OR_ABORT(m_roRequest.uiDevIndex < Tavrin_GetDeviceCount());
    m_hDev = Tavrin_GetDevice(m_roRequest.uiDevIndex);
    QEL_CHECK_OR_ABORT(m_hDev != nullptr);
    if (IsFpgaFirmwareSupported(m_hDev))
        eStatus = TStatus_OK;

Qel_Abort:
    return eStatus;
}

TStatus CRun::BeginAccess()
{
    std::fill(std::begin(m_apuiBuffer), std::end(m_apuiBuffer), KUINTPTR{0});
    const KUINT32 uiPlaneCount = std::min(m_oPlaneInfo.uiPlaneCount, MAX_PLANES);
    return TBuffer_BeginAccess(m_hDrawBuffer, ACCESS_MODE, uiPlaneCount, m_apuiBuffer);
}

std::unique_ptr<QelSurface> CRun::NewSurface() const
{
    return std::make_unique<CDrawSurface>(m_apuiBuffer, m_oPlaneInfo.auiPitch, m_oPlaneInfo.auiPitchInBytes,
                                          m_oPlaneInfo.auiWidth[0], m_oPlaneInfo.auiHeight[0], 1);
}

TStatus CRun::PaintFirstPicture()
{
    std::unique_ptr<QelSurface> poDrawSurface;
    TStatus                     eStatus = TStatus_FAIL;

    QEL_CHECK_OR_ABORT(TBuffer_CreateVideo(m_hDev, TPixelFormat_R8G8B8A8, m_roRequest.oVidParam.uiHActive,
                                           m_roRequest.oVidParam.uiVActive, &m_hDrawBuffer) >= 0);
    eStatus = TBuffer_GetPlaneInfo(m_hDrawBuffer, &m_oPlaneInfo);
    QEL_CHECK_OR_ABORT(eStatus >= 0);
    eStatus = BeginAccess();
    QEL_CHECK_OR_ABORT(eStatus >= 0);

    poDrawSurface = NewSurface();
    poDrawSurface->SetBgColourFromARGB(0, 0, 0, 0);
    poDrawSurface->Clr();
    PaintBackground();
    if (m_roRequest.bAnimation)
        StartAnimation(poDrawSurface.get());
    if (m_roRequest.bProgressBar)
        InitProgressDrawing(m_roRequest.roProgressBarRect, poDrawSurface.get());
    poDrawSurface.reset();

    eStatus = TBuffer_EndAccess(m_hDrawBuffer);
    QEL_CHECK_OR_ABORT(eStatus >= 0);

Qel_Abort:
    return eStatus;
}

void CRun::PaintBackground()
{
    if (m_roRequest.pszImageFileName == nullptr)
        return;

    if (std::FILE* poPngFile = std::fopen(m_roRequest.pszImageFileName, "rb"))
    {
        LoadImage(poPngFile, m_oPlaneInfo.auiWidth[0], m_oPlaneInfo.auiPitchInBytes[0], m_oPlaneInfo.auiHeight[0], Pixels());
        std::fclose(poPngFile);
    }
}

void CRun::StartAnimation(QelSurface* poDrawSurface)
{
    if (m_roRequest.pszAnimBaseFileName != nullptr)
    {
        m_bUsePngAnimation =
            InitAnimationPng(Pixels(), m_oPlaneInfo.auiWidth[0], m_oPlaneInfo.auiPitchInBytes[0], m_oPlaneInfo.auiHeight[0],
                             m_roRequest.pszAnimBaseFileName, m_roRequest.roAnimRect, m_oAnimationPngData);
        if (!m_bUsePngAnimation)
            std::printf("Animation Png failed to load fall back on rectangle animation\n");
    }
    if (!m_bUsePngAnimation)
        InitAnimationDrawing(m_roRequest.roAnimRect, BLOCK_BEGIN_PCT, BLOCK_END_PCT, m_oAnimationData, poDrawSurface);
}

TStatus CRun::ShowOnEveryOutput()
{
    TStatus eStatus = TVideoOut_GetCount(m_hDev, &m_uiNbVideoOut);
    QEL_CHECK_OR_ABORT(eStatus >= 0);

    for (KUINT32 i = 0; i < m_uiNbVideoOut; ++i)
    {
        eStatus = EnableDisplay(m_hDev, m_hDrawBuffer, m_roRequest.oVidParam, i);
        if (eStatus == TStatus_RESOURCES_BUSY)
        {
            std::printf("ABORTING: Cannot enable display, the resource is busy! (Video output:%d) \n",
                        static_cast<KINT32>(i));
            goto Qel_Abort;
        }
        QEL_CHECK_OR_ABORT(eStatus >= 0);
    }

    TBoard_RegWrite(m_hDev, REG_PROGRESS_BAR_RUNNING, 1);
    eStatus = TStatus_OK;

Qel_Abort:
    return eStatus;
}

// The buffer stays accessed for the whole loop: whatever is drawn into it shows on the outputs without a further call. A
// step allocates nothing.
TStatus CRun::Loop()
{
    std::unique_ptr<QelSurface> poDrawSurface;
    std::time_t                 otimeStart = 0;
    KBOOL32                     bTimeOut   = FALSE;
    TStatus                     eStatus    = BeginAccess();
    QEL_CHECK_OR_ABORT(eStatus >= 0);

    poDrawSurface = NewSurface();
    otimeStart    = std::time(nullptr);

    while (!g_bStopSignal)
    {
        if (g_oOsServices.Event_Wait(m_hEvent, m_roRequest.uiAnimStepLoopTimeMs) != TStatus_TIMEOUT)
            break;
        // Tested after the wait, so that the last picture stays on screen for one more step.
        if (m_oProgressReg.f.uUpdatePct > LAST_RUNNING_PCT || bTimeOut)
            break;

        if (m_roRequest.bAnimation)
            StepAnimation(poDrawSurface.get());
        if (m_roRequest.bProgressBar)
            StepProgressBar(poDrawSurface.get());

        if (m_roRequest.uiEnableTime != 0)
            bTimeOut = m_roRequest.uiEnableTime <= std::difftime(std::time(nullptr), otimeStart);
    }
    poDrawSurface.reset();

    eStatus = TBuffer_EndAccess(m_hDrawBuffer);
    QEL_CHECK_OR_ABORT(eStatus >= 0);
    eStatus = TStatus_OK;

Qel_Abort:
    return eStatus;
}

void CRun::StepAnimation(QelSurface* poDrawSurface)
{
    if (m_bUsePngAnimation)
        AnimationPngUpdate(m_oAnimationPngData, m_oPlaneInfo.auiPitchInBytes[0], Pixels());
    else
        AnimationDrawingUpdate(m_roRequest.roAnimRect, BLOCK_STEP_PCT, m_oAnimationData, poDrawSurface);
}

void CRun::StepProgressBar(QelSurface* poDrawSurface)
{
    TBoard_RegRead(m_hDev, REG_PROGRESS_UPDATE, &m_oProgressReg.dwValue);
    ProgressDrawingUpdate(m_roRequest.roProgressBarRect, m_oProgressReg.f.uUpdatePct, m_oProgressBarData, poDrawSurface);
}

CRun::~CRun()
{
    if (m_hDev != nullptr)
    {
        // Every output of the device, even one that this run has not enabled.
        for (KUINT32 i = 0; m_roRequest.uiEnableTime == 0 && i < m_uiNbVideoOut; ++i)
            DisableDisplay(m_hDev, i);
        if (m_hDrawBuffer != nullptr)
            TBuffer_Destroy(m_hDrawBuffer);
        TBoard_RegWrite(m_hDev, REG_PROGRESS_BAR_RUNNING, 0);
    }
    if (m_hEvent != nullptr)
        g_oOsServices.Event_Destroy(m_hEvent);
    Tavrin_UnLoad();
}
}

TStatus DisplayProgressBar(KUINT32 uiDevIndex, const tagTRECT& roProgressBarRect, const char* pszImageFileName,
                           const char* pszAnimBaseFileName, KUINT32 uiAnimStepLoopTimeMs, const tagTRECT& roAnimRect,
                           KUINT32 uiEnableTime, KBOOL32 bProgressBar, KBOOL32 bAnimation, tagTVideo_VidParam& oVidParam)
{
    const SRequest oRequest = {
        .uiDevIndex           = uiDevIndex,
        .roProgressBarRect    = roProgressBarRect,
        .pszImageFileName     = pszImageFileName,
        .pszAnimBaseFileName  = pszAnimBaseFileName,
        .uiAnimStepLoopTimeMs = uiAnimStepLoopTimeMs,
        .roAnimRect           = roAnimRect,
        .uiEnableTime         = uiEnableTime,
        .bProgressBar         = bProgressBar,
        .bAnimation           = bAnimation,
        .oVidParam            = oVidParam,
    };
    CRun oRun(oRequest);

    SetupSignalHandler();

    TStatus eStatus = oRun.TestRectangles();
    if (eStatus >= 0)
        eStatus = oRun.OpenDevice();
    if (eStatus >= 0)
        eStatus = oRun.PaintFirstPicture();
    if (eStatus >= 0)
        eStatus = oRun.ShowOnEveryOutput();
    if (eStatus >= 0)
        eStatus = oRun.Loop();
    return eStatus;
}
