// Whether the library and the devices can be asked for what a run needs. Nothing is changed.
#include <dlfcn.h>

#include <string>

#include "BoardObjects.h"
#include "BoardRegisters.h"
#include "FpgaFirmwareCheck.h"
#include "FpgaReport.h"
#include "LibraryFile.h"
#include "TavrinLoader.h"
#include "Tries.h"

namespace BoardCheck
{
namespace
{
void* OpenLibrary(Trial& roTrial)
{
    roTrial.At("opening the library");
    void* const pvLibrary = dlopen(TAVRIN_LIBRARY_NAME, RTLD_NOW | RTLD_LOCAL);
    if (pvLibrary == nullptr)
        roTrial.Fail(dlerror());
    return pvLibrary;
}

std::string ExplainRefusal(const SFirmwareFinding& roFinding)
{
    const std::string strFpga = "FPGA " + std::to_string(roFinding.uiFpgaIdx);
    switch (roFinding.eFinding)
    {
    case EFirmwareFinding::NoFpgaCount:
        return "the FPGAs cannot be counted: TBoard_GetFpgaCount returned " + DescribeStatus(roFinding.eStatus);
    case EFirmwareFinding::NoFpga: return "the board has no FPGA";
    case EFirmwareFinding::NoFpgaInfo:
        return strFpga + " cannot be described: TBoard_GetFpgaInfo returned " + DescribeStatus(roFinding.eStatus);
    case EFirmwareFinding::NoneExamined: return "no FPGA has I2C address 0xd0 and vendor 0xc3e7";
    case EFirmwareFinding::NotKnown:
    case EFirmwareFinding::Supported: break;
    }
    return "the firmware of " + strFpga + " is not known: " + NameFirmware(roFinding.oFpgaInfo);
}
}

void TryFile(Trial& roTrial, const STrialInput&)
{
    roTrial.BeginQuestion();
    const Json oFile = DescribeLibraryFile(OpenLibrary(roTrial));
    roTrial.Tell("library", oFile);
    roTrial.Pass(oFile["path"]);
}

void TryOperations(Trial& roTrial, const STrialInput&)
{
    void* const pvLibrary = OpenLibrary(roTrial);
    roTrial.BeginQuestion();
    Json        oExported = Json::array(), oMissing = Json::array(), oAlso = Json::array();
    std::string strMissing;
    for (const KCHAR8* const pszName : GetTavrinOperationNames())
    {
        if (dlsym(pvLibrary, pszName) != nullptr)
        {
            oExported.push_back(pszName);
            continue;
        }
        oMissing.push_back(pszName);
        strMissing += (strMissing.empty() ? "" : ", ") + std::string(pszName);
    }
    for (const char* const pszName : {"Tavrin_Load", "Tavrin_UnLoad"})
    {
        if (dlsym(pvLibrary, pszName) != nullptr)
            oAlso.push_back(pszName);
    }
    roTrial.Tell("library", {{"operations", oExported}, {"missing", oMissing}, {"also", oAlso}});
    if (!strMissing.empty())
        roTrial.Fail("it lacks " + strMissing);
    roTrial.Pass(std::to_string(oExported.size()) + " operations");
}

void TryLoad(Trial& roTrial, const STrialInput&)
{
    dlclose(OpenLibrary(roTrial));
    roTrial.BeginQuestion();
    Library oLibrary(roTrial);
    roTrial.At("unloading the library");
    Tavrin_UnLoad();
    roTrial.Pass(AS_EXPECTED);
}

void TryDevices(Trial& roTrial, const STrialInput& roInput)
{
    const Library oLibrary(roTrial);
    roTrial.BeginQuestion();
    const KUINT32 uiCount = Tavrin_GetDeviceCount();
    roTrial.Tell("device_count", uiCount);
    const std::string strCount = uiCount == 1 ? "1 device" : std::to_string(uiCount) + " devices";
    if (uiCount == 0 || uiCount > MAX_COUNT)
        roTrial.Fail(strCount);
    if (roInput.roRequest.ouiDevice.value_or(0) >= uiCount)
        roTrial.Fail("there is no device " + std::to_string(*roInput.roRequest.ouiDevice) + " among " + strCount);
    roTrial.Pass(strCount);
}

void TryDevice(Trial& roTrial, const STrialInput& roInput)
{
    const Library oLibrary(roTrial);
    roTrial.BeginQuestion();
    if (Tavrin_GetDevice(roInput.uiDevice) == nullptr)
        roTrial.Fail("Tavrin_GetDevice returned null");
    roTrial.Pass(AS_EXPECTED);
}

void TryFpgas(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput);
    roTrial.BeginQuestion();
    KUINT32 uiCount = 0;
    roTrial.Check(TBoard_GetFpgaCount(oDevice.m_hDev, &uiCount));
    if (uiCount > MAX_COUNT)
        roTrial.Fail(std::to_string(uiCount) + " FPGAs");
    for (KUINT32 uiFpga = 0; uiFpga < uiCount; ++uiFpga)
    {
        tagTBoard_FpgaInfo oInfo = {};
        oInfo.uiSize             = sizeof(oInfo);
        roTrial.Check(TBoard_GetFpgaInfo(oDevice.m_hDev, uiFpga, &oInfo));
        roTrial.Tell("fpga", DescribeFpga(oInfo));
    }
    roTrial.Pass(std::to_string(uiCount) + (uiCount == 1 ? " FPGA" : " FPGAs"));
}

void TryFirmware(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput);
    roTrial.BeginQuestion();
    const SFirmwareFinding oFinding = ExamineFpgaFirmware(oDevice.m_hDev);
    if (oFinding.eFinding != EFirmwareFinding::Supported)
        roTrial.Fail(ExplainRefusal(oFinding));
    roTrial.Pass(AS_EXPECTED);
}

void TryOutputs(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput);
    roTrial.BeginQuestion();
    const KUINT32 uiCount = oDevice.CountOutputs();
    roTrial.Tell("outputs", uiCount);
    if (uiCount == 0 && roInput.roRequest.bDraw)
        roTrial.Fail("no outputs to draw on");
    roTrial.Pass(std::to_string(uiCount) + (uiCount == 1 ? " output" : " outputs"));
}

void TryRegisters(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput);
    roTrial.BeginQuestion();
    const KUINT32            uiRunning = oDevice.ReadRegister(REG_PROGRESS_BAR_RUNNING);
    const RegPROGRESS_UPDATE oProgress = {.dwValue = oDevice.ReadRegister(REG_PROGRESS_UPDATE)};
    roTrial.Tell("registers", {{std::to_string(REG_PROGRESS_BAR_RUNNING), uiRunning},
                               {std::to_string(REG_PROGRESS_UPDATE), oProgress.dwValue}});
    roTrial.Tell("progress", {{"percent", KUINT32{oProgress.f.uUpdatePct}},
                              {"reserved", KUINT32{oProgress.f.uReserved}},
                              {"bar_display_completed", KUINT32{oProgress.f.uBarDisplayCompleted}},
                              {"trigger_new_bar_display", KUINT32{oProgress.f.uTriggerNewBarDisplay}},
                              {"update_status", KUINT32{oProgress.f.uUpdateStatus}}});
    roTrial.Pass(std::to_string(uiRunning) + " and " + std::to_string(oProgress.f.uUpdatePct) + " %");
}
}
