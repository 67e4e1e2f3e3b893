#include "BoardObjects.h"

#include <iterator>
#include <string>
#include <utility>

#include "BoardRegisters.h"
#include "Checks.h"

namespace BoardCheck
{
namespace
{
// Takes something back. A call that is not made, because it is known to hang, must not leave a destructor.
template <class TCall> void Undo(TCall fCall)
{
    try
    {
        fCall();
    }
    catch (const TrialEnded&)
    {}
}
}

Library::Library(Trial& roTrial)
{
    roTrial.At("loading the library");
    if (Tavrin_Load() < TStatus_OK)
        roTrial.End("the library cannot be loaded, or lacks an operation");
}

Library::~Library()
{
    Undo(Tavrin_UnLoad);
}

Device::Device(Trial& roTrial, KUINT32 uiDevice) : m_oLibrary(roTrial), m_hDev(Tavrin_GetDevice(uiDevice))
{
    if (m_hDev == nullptr)
        roTrial.End("Tavrin_GetDevice returned null");
}

Buffer::Buffer(Trial& roTrial, const Device& roDevice, const tagTVideo_VidParam& roVidParam) : m_roTrial(roTrial)
{
    m_roTrial.Check(
        TBuffer_CreateVideo(roDevice.m_hDev, TPixelFormat_R8G8B8A8, roVidParam.uiHActive, roVidParam.uiVActive, &m_hBuffer));
    if (m_hBuffer == nullptr)
        m_roTrial.End("TBuffer_CreateVideo gave no handle");
}

Buffer::~Buffer()
{
    if (m_hBuffer != nullptr)
        Undo([this] { TBuffer_Destroy(m_hBuffer); });
}

void Buffer::Destroy()
{
    m_roTrial.Check(TBuffer_Destroy(std::exchange(m_hBuffer, nullptr)));
}

tagTBuffer_PlaneInfo Buffer::GetPlaneInfo() const
{
    tagTBuffer_PlaneInfo oInfo = {};
    m_roTrial.Check(TBuffer_GetPlaneInfo(m_hBuffer, &oInfo));
    if (oInfo.uiPlaneCount < 1 || oInfo.uiPlaneCount > std::size(oInfo.auiPitch))
        m_roTrial.End(std::to_string(oInfo.uiPlaneCount) + " planes");
    return oInfo;
}

Access::Access(Trial& roTrial, const Buffer& roBuffer)
    : m_oInfo(roBuffer.GetPlaneInfo()), m_roTrial(roTrial), m_hBuffer(roBuffer.Get())
{
    m_roTrial.Check(TBuffer_BeginAccess(m_hBuffer, 0, m_oInfo.uiPlaneCount, m_auiPlanes));
    if (m_auiPlanes[0] == 0)
    {
        Undo([this] { TBuffer_EndAccess(m_hBuffer); });
        m_roTrial.End("TBuffer_BeginAccess gave no address");
    }
}

Access::~Access()
{
    if (m_hBuffer != nullptr)
        Undo([this] { TBuffer_EndAccess(m_hBuffer); });
}

void Access::End()
{
    m_roTrial.Check(TBuffer_EndAccess(std::exchange(m_hBuffer, nullptr)));
}

KUINT32* Access::GetRow(KUINT32 uiRow) const
{
    return reinterpret_cast<KUINT32*>(m_auiPlanes[0] + KUINTPTR{uiRow} * m_oInfo.auiPitchInBytes[0]);
}

TStatus Output::GetHandle()
{
    if (m_hVideoOut != nullptr)
        return TStatus_OK;
    const TStatus eStatus = TVideoOut_GetHandle(m_hDev, m_uiOutput, TAccessMode_READWRITE, &m_hVideoOut);
    if (eStatus >= TStatus_OK && m_hVideoOut == nullptr)
        m_roTrial.End("output " + std::to_string(m_uiOutput) + ": TVideoOut_GetHandle gave no handle");
    return eStatus;
}

void Output::Enable(const tagTVideo_VidParam& roVidParam, const Buffer& roBuffer)
{
    Check(TryEnable(roVidParam, roBuffer));
}

TStatus Output::TryEnable(const tagTVideo_VidParam& roVidParam, const Buffer& roBuffer)
{
    TStatus eStatus = GetHandle();
    if (eStatus < TStatus_OK)
        return eStatus;
    m_roTrial.Tell("takes_output", m_uiOutput);
    eStatus =
        TVideoOut_Enable(m_hVideoOut, TVideo_SignalType_USEDEFAULT, &roVidParam, roBuffer.Get(), TVideoOut_PowerState_ON);
    m_bEnabled = eStatus >= TStatus_OK;
    if (!m_bEnabled)
        m_roTrial.Tell("gives_output", m_uiOutput);
    return eStatus;
}

void Output::Check(TStatus eStatus)
{
    m_roTrial.Check(eStatus, "output " + std::to_string(m_uiOutput) + ": ");
}

Output::~Output()
{
    Undo([this] {
        if (m_bEnabled)
            Disable();
    });
    Undo([this] {
        if (m_hVideoOut != nullptr)
            TVideoOut_ReleaseHandle(m_hVideoOut);
    });
}

void Output::Disable()
{
    m_bEnabled = false;
    Check(GetHandle());
    Check(TVideoOut_Disable(m_hVideoOut));
    m_roTrial.Tell("gives_output", m_uiOutput);
}

void Output::Release()
{
    Check(TVideoOut_ReleaseHandle(std::exchange(m_hVideoOut, nullptr)));
}

KUINT32 ReadRegister(Trial& roTrial, const Device& roDevice, KUINT32 uiRegister)
{
    KUINT32 uiValue = 0;
    roTrial.Check(TBoard_RegRead(roDevice.m_hDev, uiRegister, &uiValue));
    return uiValue;
}

RunningRegister::RunningRegister(Trial& roTrial, const Device& roDevice)
    : m_roTrial(roTrial), m_roDevice(roDevice), m_uiHeld(ReadRegister(roTrial, roDevice, REG_PROGRESS_BAR_RUNNING))
{
    m_roTrial.Tell("takes_register", m_uiHeld);
}

RunningRegister::~RunningRegister()
{
    Undo([this] {
        Write(m_uiHeld);
        m_roTrial.Tell("gives_register", m_uiHeld);
    });
}

void RunningRegister::Write(KUINT32 uiValue)
{
    m_roTrial.Check(TBoard_RegWrite(m_roDevice.m_hDev, REG_PROGRESS_BAR_RUNNING, uiValue));
}

KUINT32 CountOutputs(Trial& roTrial, const Device& roDevice)
{
    KUINT32 uiCount = 0;
    roTrial.Check(TVideoOut_GetCount(roDevice.m_hDev, &uiCount));
    if (uiCount > MAX_COUNT)
        roTrial.End(std::to_string(uiCount) + " outputs");
    return uiCount;
}

Outputs EnableEveryOutput(Trial& roTrial, const Device& roDevice, const tagTVideo_VidParam& roVidParam,
                          const Buffer& roBuffer)
{
    Outputs       aoOutputs;
    const KUINT32 uiCount = CountOutputs(roTrial, roDevice);
    for (KUINT32 uiOutput = 0; uiOutput < uiCount; ++uiOutput)
    {
        aoOutputs.push_back(std::make_unique<Output>(roTrial, roDevice, uiOutput));
        aoOutputs.back()->Enable(roVidParam, roBuffer);
    }
    return aoOutputs;
}

Outputs ShowOnEveryOutput(Trial& roTrial, const Device& roDevice, const tagTVideo_VidParam& roVidParam,
                          const Buffer& roBuffer)
{
    Outputs aoOutputs = EnableEveryOutput(roTrial, roDevice, roVidParam, roBuffer);
    if (aoOutputs.empty())
        roTrial.End("no outputs");
    for (const auto& poOutput : aoOutputs)
        poOutput->Release();
    return aoOutputs;
}
}
