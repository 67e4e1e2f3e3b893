#include "BoardObjects.h"

#include <iterator>

#include "BoardRegisters.h"

namespace BoardCheck
{
namespace
{
// What makes the rows of plane 0 unsafe to be written, or nothing.
std::string FindPlaneFault(const tagTBuffer_PlaneInfo& roInfo, const tagTVideo_VidParam& roVidParam)
{
    const KUINT32 uiWidth = roInfo.auiWidth[0], uiHeight = roInfo.auiHeight[0], uiPitch = roInfo.auiPitch[0];
    if (roInfo.uiPlaneCount < 1 || roInfo.uiPlaneCount > std::size(roInfo.auiPitch))
        return std::to_string(roInfo.uiPlaneCount) + " planes";
    if (uiWidth != roVidParam.uiHActive || uiHeight != roVidParam.uiVActive)
        return "a size of " + std::to_string(uiWidth) + " x " + std::to_string(uiHeight) + " instead of " +
               std::to_string(roVidParam.uiHActive) + " x " + std::to_string(roVidParam.uiVActive);
    if (KUINT64{roInfo.auiWidthInBytes[0]} != KUINT64{uiWidth} * sizeof(KUINT32))
        return "a width of " + std::to_string(uiWidth) + " pixels and of " + std::to_string(roInfo.auiWidthInBytes[0]) +
               " bytes";
    if (KUINT64{roInfo.auiPitchInBytes[0]} != KUINT64{uiPitch} * sizeof(KUINT32))
        return "a pitch of " + std::to_string(uiPitch) + " pixels and of " + std::to_string(roInfo.auiPitchInBytes[0]) +
               " bytes";
    if (uiPitch < uiWidth)
        return "a pitch of " + std::to_string(uiPitch) + " pixels, less than the width";
    return "";
}
}

Library::Library(Trial& roTrial) : m_roTrial(roTrial)
{
    roTrial.At("loading the library");
    if (Tavrin_Load() < TStatus_OK)
        roTrial.Fail("the library cannot be loaded, or lacks an operation");
}

Library::~Library()
{
    m_roTrial.TakeBack(Tavrin_UnLoad);
}

Device::Device(Trial& roTrial, const STrialInput& roInput)
    : m_roTrial(roTrial), m_roVidParam(roInput.roRequest.oVidParam), m_oLibrary(roTrial),
      m_hDev(Tavrin_GetDevice(roInput.uiDevice))
{
    if (m_hDev == nullptr)
        m_roTrial.Fail("Tavrin_GetDevice returned null");
}

KUINT32 Device::CountOutputs() const
{
    KUINT32 uiCount = 0;
    m_roTrial.Check(TVideoOut_GetCount(m_hDev, &uiCount));
    if (uiCount > MAX_COUNT)
        m_roTrial.Fail(std::to_string(uiCount) + " outputs");
    return uiCount;
}

KUINT32 Device::RequireOutputs() const
{
    const KUINT32 uiCount = CountOutputs();
    if (uiCount == 0)
        m_roTrial.Fail("no outputs");
    return uiCount;
}

KUINT32 Device::ReadRegister(KUINT32 uiRegister) const
{
    KUINT32 uiValue = 0;
    m_roTrial.Check(TBoard_RegRead(m_hDev, uiRegister, &uiValue));
    return uiValue;
}

Buffer::Buffer(const Device& roDevice) : m_roDevice(roDevice)
{
    const tagTVideo_VidParam& roVidParam = roDevice.m_roVidParam;
    roDevice.m_roTrial.Check(
        TBuffer_CreateVideo(roDevice.m_hDev, TPixelFormat_R8G8B8A8, roVidParam.uiHActive, roVidParam.uiVActive, &m_hBuffer));
    if (m_hBuffer == nullptr)
        roDevice.m_roTrial.Fail("TBuffer_CreateVideo gave no handle");
}

Buffer::~Buffer()
{
    if (m_hBuffer != nullptr)
        m_roDevice.m_roTrial.TakeBack([this] { TBuffer_Destroy(m_hBuffer); });
}

void Buffer::Destroy()
{
    const TStatus eStatus = TBuffer_Destroy(m_hBuffer);  // may throw before the call
    m_hBuffer             = nullptr;
    m_roDevice.m_roTrial.Check(eStatus);
}

tagTBuffer_PlaneInfo Buffer::RequireRows() const
{
    Trial&               roTrial = m_roDevice.m_roTrial;
    tagTBuffer_PlaneInfo oInfo   = {};
    roTrial.Check(TBuffer_GetPlaneInfo(m_hBuffer, &oInfo));
    const std::string strFault = FindPlaneFault(oInfo, m_roDevice.m_roVidParam);
    if (!strFault.empty())
        roTrial.Fail(strFault);
    return oInfo;
}

Access::Access(const Buffer& roBuffer)
    : m_oInfo(roBuffer.RequireRows()), m_roTrial(roBuffer.m_roDevice.m_roTrial), m_hBuffer(roBuffer.Get())
{
    m_roTrial.Check(TBuffer_BeginAccess(m_hBuffer, 0, m_oInfo.uiPlaneCount, m_auiPlanes));
    if (m_auiPlanes[0] == 0)
    {
        m_roTrial.TakeBack([this] { TBuffer_EndAccess(m_hBuffer); });
        m_roTrial.Fail("TBuffer_BeginAccess gave no address");
    }
}

Access::~Access()
{
    if (m_hBuffer != nullptr)
        m_roTrial.TakeBack([this] { TBuffer_EndAccess(m_hBuffer); });
}

void Access::End()
{
    const TStatus eStatus = TBuffer_EndAccess(m_hBuffer);
    m_hBuffer             = nullptr;
    m_roTrial.Check(eStatus);
}

KUINT32* Access::GetRow(KUINT32 uiRow) const
{
    return reinterpret_cast<KUINT32*>(m_auiPlanes[0] + KUINTPTR{uiRow} * m_oInfo.auiPitchInBytes[0]);
}

TStatus Output::GetHandle()
{
    if (m_hVideoOut != nullptr)
        return TStatus_OK;
    const TStatus eStatus = TVideoOut_GetHandle(m_roDevice.m_hDev, m_uiOutput, TAccessMode_READWRITE, &m_hVideoOut);
    if (eStatus >= TStatus_OK && m_hVideoOut == nullptr)
        m_roDevice.m_roTrial.Fail(NameOutput() + "TVideoOut_GetHandle gave no handle");
    return eStatus;
}

std::string Output::NameOutput() const
{
    return "output " + std::to_string(m_uiOutput) + ": ";
}

void Output::Check(TStatus eStatus)
{
    m_roDevice.m_roTrial.Check(eStatus, NameOutput());
}

void Output::Enable(const Buffer& roBuffer)
{
    Check(TryEnable(roBuffer));
}

TStatus Output::TryEnable(const Buffer& roBuffer)
{
    TStatus eStatus = GetHandle();
    if (eStatus < TStatus_OK)
        return eStatus;
    Trial& roTrial = m_roDevice.m_roTrial;
    roTrial.Tell("takes_output", m_uiOutput);
    eStatus    = TVideoOut_Enable(m_hVideoOut, TVideo_SignalType_USEDEFAULT, &m_roDevice.m_roVidParam, roBuffer.Get(),
                                  TVideoOut_PowerState_ON);
    m_bEnabled = eStatus >= TStatus_OK;
    if (!m_bEnabled)
        roTrial.Tell("gives_output", m_uiOutput);
    return eStatus;
}

Output::~Output()
{
    Trial& roTrial = m_roDevice.m_roTrial;
    roTrial.TakeBack([this] {
        if (m_bEnabled)
            Disable();
    });
    roTrial.TakeBack([this] {
        if (m_hVideoOut != nullptr)
            TVideoOut_ReleaseHandle(m_hVideoOut);
    });
}

void Output::Disable()
{
    m_bEnabled = false;
    Check(GetHandle());
    Check(TVideoOut_Disable(m_hVideoOut));
    m_roDevice.m_roTrial.Tell("gives_output", m_uiOutput);
}

void Output::Release()
{
    const TStatus eStatus = TVideoOut_ReleaseHandle(m_hVideoOut);
    m_hVideoOut           = nullptr;
    Check(eStatus);
}

Outputs EnableEveryOutput(const Buffer& roBuffer)
{
    Outputs       aoOutputs;
    const KUINT32 uiCount = roBuffer.m_roDevice.RequireOutputs();
    for (KUINT32 uiOutput = 0; uiOutput < uiCount; ++uiOutput)
    {
        aoOutputs.push_back(std::make_unique<Output>(roBuffer.m_roDevice, uiOutput));
        aoOutputs.back()->Enable(roBuffer);
    }
    return aoOutputs;
}

Outputs ShowOnEveryOutput(const Buffer& roBuffer)
{
    Outputs aoOutputs = EnableEveryOutput(roBuffer);
    for (const auto& poOutput : aoOutputs)
        poOutput->Release();
    return aoOutputs;
}

RunningRegister::RunningRegister(const Device& roDevice)
    : m_roDevice(roDevice), m_uiHeld(roDevice.ReadRegister(REG_PROGRESS_BAR_RUNNING))
{
    m_roDevice.m_roTrial.Tell("takes_register", m_uiHeld);
}

RunningRegister::~RunningRegister()
{
    m_roDevice.m_roTrial.TakeBack([this] {
        Write(m_uiHeld);
        m_roDevice.m_roTrial.Tell("gives_register", m_uiHeld);
    });
}

void RunningRegister::Write(KUINT32 uiValue)
{
    m_roDevice.m_roTrial.Check(TBoard_RegWrite(m_roDevice.m_hDev, REG_PROGRESS_BAR_RUNNING, uiValue));
}
}
