// The checks that change nothing: of the library, and of each device.
#include <dlfcn.h>

#include <string>

#include "BoardObjects.h"
#include "BoardRegisters.h"
#include "Checks.h"
#include "FpgaFirmwareCheck.h"
#include "FpgaReport.h"
#include "LibraryFile.h"
#include "TavrinLoader.h"

namespace BoardCheck
{
namespace
{
void* OpenLibrary(Trial& roTrial)
{
    roTrial.At("opening the library");
    void* const pvLibrary = dlopen(TAVRIN_LIBRARY_NAME, RTLD_NOW | RTLD_LOCAL);
    if (pvLibrary == nullptr)
        roTrial.End(dlerror());
    return pvLibrary;
}

void TryFile(Trial& roTrial, const STrialInput&)
{
    roTrial.BeginQuestion();
    const Json oFile = DescribeLibraryFile(OpenLibrary(roTrial));
    roTrial.Tell("library", oFile);
    roTrial.Hold(oFile["path"]);
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
        roTrial.End("it lacks " + strMissing);
    roTrial.Hold(std::to_string(oExported.size()) + " operations");
}

void TryLoad(Trial& roTrial, const STrialInput&)
{
    dlclose(OpenLibrary(roTrial));
    roTrial.BeginQuestion();
    Library oLibrary(roTrial);
    roTrial.At("unloading the library");
    Tavrin_UnLoad();
    roTrial.Hold(AS_EXPECTED);
}

void TryDevices(Trial& roTrial, const STrialInput& roInput)
{
    const Library oLibrary(roTrial);
    roTrial.BeginQuestion();
    const KUINT32 uiCount = Tavrin_GetDeviceCount();
    roTrial.Tell("device_count", uiCount);
    const std::string strCount = uiCount == 1 ? "1 device" : std::to_string(uiCount) + " devices";
    if (uiCount == 0 || uiCount > MAX_COUNT)
        roTrial.End(strCount);
    if (roInput.roRequest.ouiDevice.value_or(0) >= uiCount)
        roTrial.End("there is no device " + std::to_string(*roInput.roRequest.ouiDevice) + " among " + strCount);
    roTrial.Hold(strCount);
}

void TryDevice(Trial& roTrial, const STrialInput& roInput)
{
    const Library oLibrary(roTrial);
    roTrial.BeginQuestion();
    if (Tavrin_GetDevice(roInput.uiDevice) == nullptr)
        roTrial.End("Tavrin_GetDevice returned null");
    roTrial.Hold(AS_EXPECTED);
}

void TryFpgas(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput.uiDevice);
    roTrial.BeginQuestion();
    KUINT32 uiCount = 0;
    roTrial.Check(TBoard_GetFpgaCount(oDevice.m_hDev, &uiCount));
    if (uiCount > MAX_COUNT)
        roTrial.End(std::to_string(uiCount) + " FPGAs");
    for (KUINT32 uiFpga = 0; uiFpga < uiCount; ++uiFpga)
    {
        tagTBoard_FpgaInfo oInfo = {};
        oInfo.uiSize             = sizeof(oInfo);
        roTrial.Check(TBoard_GetFpgaInfo(oDevice.m_hDev, uiFpga, &oInfo));
        roTrial.Tell("fpga", DescribeFpga(oInfo));
    }
    roTrial.Hold(std::to_string(uiCount) + (uiCount == 1 ? " FPGA" : " FPGAs"));
}

std::string ExplainRefusal(TDevice_Handle hDev)
{
    const SFirmwareFinding oFinding = ExamineFpgaFirmware(hDev);
    const std::string      strFpga  = "FPGA " + std::to_string(oFinding.uiFpgaIdx);
    switch (oFinding.eFinding)
    {
    case EFirmwareFinding::Supported: return "a second look finds it supported";
    case EFirmwareFinding::NoFpgaCount:
        return "the FPGAs cannot be counted: TBoard_GetFpgaCount returned " + DescribeStatus(oFinding.eStatus);
    case EFirmwareFinding::NoFpga: return "the board has no FPGA";
    case EFirmwareFinding::NoFpgaInfo:
        return strFpga + " cannot be described: TBoard_GetFpgaInfo returned " + DescribeStatus(oFinding.eStatus);
    case EFirmwareFinding::NoneExamined: return "no FPGA has I2C address 0xd0 and vendor 0xc3e7";
    case EFirmwareFinding::NotKnown: break;
    }
    tagTBoard_FpgaInfo oInfo = {};
    oInfo.uiSize             = sizeof(oInfo);
    TBoard_GetFpgaInfo(hDev, oFinding.uiFpgaIdx, &oInfo);
    return "the firmware of " + strFpga + " is not known: " + NameFirmware(oInfo);
}

void TryFirmware(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput.uiDevice);
    roTrial.BeginQuestion();
    const bool bSupported = IsFpgaFirmwareSupported(oDevice.m_hDev) != FALSE;
    roTrial.Tell("may_be_driven", bSupported);
    if (!bSupported)
        roTrial.End(ExplainRefusal(oDevice.m_hDev));
    roTrial.Hold(AS_EXPECTED);
}

void TryOutputs(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput.uiDevice);
    roTrial.BeginQuestion();
    const KUINT32 uiCount = CountOutputs(roTrial, oDevice);
    roTrial.Tell("outputs", uiCount);
    if (uiCount == 0 && roInput.roRequest.bDraw)
        roTrial.End("no outputs to draw on");
    roTrial.Hold(std::to_string(uiCount) + (uiCount == 1 ? " output" : " outputs"));
}

void TryRegisters(Trial& roTrial, const STrialInput& roInput)
{
    const Device oDevice(roTrial, roInput.uiDevice);
    roTrial.BeginQuestion();
    KUINT32            uiRunning = 0;
    RegPROGRESS_UPDATE oProgress = {};
    roTrial.Check(TBoard_RegRead(oDevice.m_hDev, REG_PROGRESS_BAR_RUNNING, &uiRunning));
    roTrial.Check(TBoard_RegRead(oDevice.m_hDev, REG_PROGRESS_UPDATE, &oProgress.dwValue));
    roTrial.Tell("registers", {{std::to_string(REG_PROGRESS_BAR_RUNNING), uiRunning},
                               {std::to_string(REG_PROGRESS_UPDATE), oProgress.dwValue}});
    roTrial.Tell("progress", {{"percent", KUINT32{oProgress.f.uUpdatePct}},
                              {"reserved", KUINT32{oProgress.f.uReserved}},
                              {"bar_display_completed", KUINT32{oProgress.f.uBarDisplayCompleted}},
                              {"trigger_new_bar_display", KUINT32{oProgress.f.uTriggerNewBarDisplay}},
                              {"update_status", KUINT32{oProgress.f.uUpdateStatus}}});
    roTrial.Hold(std::to_string(uiRunning) + " and " + std::to_string(oProgress.f.uUpdatePct) + " %");
}

constexpr SCheck LIBRARY_CHECKS[] = {
    {"library", "libTavrin.so.1 is found and opened", TryFile},
    {"operations", "it exports the sixteen operations", TryOperations},
    {"load", "it can be loaded and unloaded", TryLoad},
    {"devices", "it has a device, and the one that was asked for", TryDevices},
};

constexpr SCheck DEVICE_CHECKS[] = {
    {"device", "the device has a handle", TryDevice},
    {"fpgas", "every FPGA is described", TryFpgas},
    {"firmware", "QelProgressBarDisplay would drive the board", TryFirmware},
    {"outputs", "the outputs are counted", TryOutputs},
    {"registers", "registers 6908 and 7932 are read", TryRegisters},
};
}

std::span<const SCheck> LibraryChecks()
{
    return LIBRARY_CHECKS;
}

std::span<const SCheck> DeviceChecks()
{
    return DEVICE_CHECKS;
}
}
