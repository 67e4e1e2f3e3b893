#include "ReplayBoard.h"

#include <algorithm>
#include <stdexcept>

#include "BoardError.h"

namespace SoftwareBoard::Recorder
{
void ReplayBoard::Open()
{
    if (!m_ooBoard)
        m_ooBoard.emplace(Board::Open());
}

void ReplayBoard::Forget()
{
    m_aoForgotten.push_back(std::move(m_oBuffers));
    m_oBuffers.clear();
    m_ooBoard.reset();
}

void ReplayBoard::MakeBuffer(const SCall& roCall, const Words& roArguments,
                             const std::optional<tagTBuffer_PlaneInfo>& ooPlanes)
{
    const auto i = roCall.oFilled.find("phBuffer");
    if (i == roCall.oFilled.end())
        return;
    const auto ooLayout = LayOutPlane(FromWord<TPixelFormat>(roArguments[1]), FromWord<KUINT32>(roArguments[2]),
                                      FromWord<KUINT32>(roArguments[3]));
    m_oBuffers.erase(i->dump());
    m_oBuffers.try_emplace(i->dump(), ooPlanes, ooLayout, *m_ooBoard);
}

void ReplayBoard::FillPlanes(const SCall& roCall, const Words& roArguments)
{
    auto* const puiPlanes = FromWord<KUINTPTR*>(roArguments[3]);
    const auto  i         = roCall.oFilled.find("auiPlanes");
    const auto  iBuffer   = m_oBuffers.find(roCall.oArguments.at("hBuffer").dump());
    if (iBuffer == m_oBuffers.end())
        throw BoardError("no earlier call made this buffer");
    std::vector<KUINT8*> apPlanes = iBuffer->second.BeginAccess();
    apPlanes.resize(std::min<size_t>(apPlanes.size(), puiPlanes != nullptr ? roArguments[2] : 0));
    for (size_t ui = 0; ui < apPlanes.size(); ++ui)
    {
        const bool bNull = i != roCall.oFilled.end() && ui < i->size() && (*i)[ui].is_null();
        puiPlanes[ui]    = bNull ? 0 : reinterpret_cast<KUINTPTR>(apPlanes[ui]);
    }
}

void ReplayBoard::Act(const SCall& roCall, const Words& roArguments)
try
{
    const auto fArgument = [&](const char* pszName) { return roCall.oArguments.at(pszName).dump(); };
    const auto fNumber   = [&](const char* pszName) { return roCall.oArguments.at(pszName).get<KUINT32>(); };
    switch (roCall.eOperation)
    {
    case EOperation::Tavrin_GetDevice: m_oDevices[roCall.oResult.dump()] = fNumber("uiDevIndex"); break;
    case EOperation::TBuffer_EndAccess: m_oBuffers.at(fArgument("hBuffer")).EndAccess(); break;
    case EOperation::TBuffer_Destroy:
        m_oBuffers.erase(fArgument("hBuffer"));
        Sweep(Transaction(m_ooBoard->m_oLocks));
        break;
    case EOperation::TVideoOut_GetHandle:
        m_oOutputs[roCall.oFilled.at("phVideoOut").dump()] = {DeviceOf(roCall), fNumber("uiIndex")};
        break;
    case EOperation::TVideoOut_Enable:
        if (roArguments[2] == 0)  // no timings, which another library may accept
            break;
        if (const auto ooOutput =
                m_oBuffers.at(fArgument("hBuffer")).MakeOutput(*FromWord<const tagTVideo_VidParam*>(roArguments[2])))
            Show(m_oOutputs.at(fArgument("hVideoOut")), *ooOutput);
        break;
    case EOperation::TVideoOut_Disable: Show(m_oOutputs.at(fArgument("hVideoOut")), {}); break;
    case EOperation::TBoard_RegWrite:
        m_ooBoard->m_oState.WriteRegister(DeviceOf(roCall), fNumber("uiRegister"), fNumber("uiValue"));
        break;
    case EOperation::TBoard_RegRead:
        m_ooBoard->m_oState.WriteRegister(DeviceOf(roCall), fNumber("uiRegister"),
                                          roCall.oFilled.at("puiValue").get<KUINT32>());
        break;
    default: break;
    }
}
catch (const BoardError&)
{}
catch (const std::out_of_range&)
{}  // the record does not say where this handle came from
catch (const Json::exception&)
{}

void ReplayBoard::Show(const SOutput& roOutput, const SOutputRecord& roRecord)
{
    const Transaction oTransaction(m_ooBoard->m_oLocks);
    if (!m_ooBoard->m_oLocks.TryHoldOutput(roOutput.uiDevice, roOutput.uiOutput))
        return;
    m_ooBoard->m_oState.WriteOutput(oTransaction, roOutput.uiDevice, roOutput.uiOutput, roRecord);
    if (roRecord.bEnabled == FALSE)
        m_ooBoard->m_oLocks.ReleaseOutput(roOutput.uiDevice, roOutput.uiOutput);
    Sweep(oTransaction);
}
}
