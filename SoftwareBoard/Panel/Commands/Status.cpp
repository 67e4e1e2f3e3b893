#include <cstdio>
#include <memory>

#include <nlohmann/json.hpp>

#include "Board.h"
#include "BoardError.h"
#include "Commands.h"
#include "DeviceStatus.h"
#include "Options.h"
#include "Timing.h"

namespace SoftwareBoard::Panel
{
namespace
{
using Json = nlohmann::ordered_json;

void PrintDevice(KUINT32 uiDevice, const SDeviceStatus& roDevice)
{
    std::printf("device %u\n", uiDevice);
    if (!roDevice.strProblem.empty())
    {
        std::printf("  problem: %s\n", MakePrintable(roDevice.strProblem).c_str());
        return;
    }
    for (const tagTBoard_FpgaInfo& roFpga : roDevice.aoFpgas)
        std::printf("  %s: device code 0x%04x, version %u.%u.%u, address 0x%02x, vendor 0x%04x\n", roFpga.szName,
                    roFpga.ui16DevID, roFpga.uiVersionMajor, roFpga.uiVersionMinor, roFpga.uiVersionBuild,
                    roFpga.uiI2cAddress, roFpga.ui16VendorID);
    std::printf("  register %u (progress bar running): 0x%08x\n", REG_PROGRESS_BAR_RUNNING, roDevice.uiProgressBarRunning);
    std::printf("  register %u (progress): 0x%08x (%u %%)\n", REG_PROGRESS_UPDATE, roDevice.uiProgress,
                roDevice.GetProgressPct());
    for (size_t uiOutput = 0; uiOutput < roDevice.aoOutputs.size(); ++uiOutput)
    {
        const SOutputStatus& roOutput = roDevice.aoOutputs[uiOutput];
        std::printf("  output %zu: %s\n", uiOutput, DescribeOutput(roOutput).c_str());
        if (roOutput.oRecord.bEnabled == TRUE)
            std::printf("    timing: %s\n", DescribeTiming(roOutput.oRecord.oVidParam).c_str());
    }
}

Json ToJson(const tagTBoard_FpgaInfo& roFpga)
{
    return {{"name", roFpga.szName},          {"device_code", roFpga.ui16DevID}, {"major", roFpga.uiVersionMajor},
            {"minor", roFpga.uiVersionMinor}, {"build", roFpga.uiVersionBuild},  {"address", roFpga.uiI2cAddress},
            {"vendor", roFpga.ui16VendorID}};
}

Json ToJson(const tagTVideo_VidParam& roVidParam)
{
    Json oTiming;
    for (const STimingField& roField : TimingFields())
    {
        const KUINT32     uiValue = roField.pfnGet(roVidParam);
        const char* const pszWord = WordOf(roField, uiValue);
        Json&             roValue = oTiming[roField.pszName];
        if (roField.eKind == ETimingKind::Number)
            roValue = uiValue;
        else if (roField.eKind != ETimingKind::Word)
            roValue = uiValue != 0;
        else if (pszWord != nullptr)
            roValue = pszWord;
    }
    return oTiming;
}

// Null for an empty text.
Json ToJson(const std::string& strText)
{
    return strText.empty() ? Json() : Json(strText);
}

Json ToJson(const std::optional<SHolder>& roHolder)
{
    return roHolder ? Json{{"pid", roHolder->iPid}, {"name", roHolder->strName}} : Json();
}

Json ToJson(const std::optional<SDisplayStatus>& roDisplay)
{
    if (!roDisplay)
        return {};
    return {{"connector", ToJson(roDisplay->strConnector)},
            {"state", NameOf(roDisplay->eState)},
            {"reason", ToJson(roDisplay->strReason)}};
}

Json ToJson(size_t uiOutput, const SOutputStatus& roOutput)
{
    const tagTVideo_VidParam& roVidParam = roOutput.oRecord.oVidParam;
    const bool                bEnabled   = roOutput.oRecord.bEnabled == TRUE;
    Json                      oOutput    = {{"output", uiOutput}, {"enabled", bEnabled}};
    if (bEnabled)
    {
        oOutput["width"]   = roVidParam.uiHActive;
        oOutput["height"]  = roVidParam.uiVActive;
        oOutput["rate_hz"] = roVidParam.uiVRate_Hz;
        oOutput["holder"]  = ToJson(roOutput.ooHolder);
        oOutput["timing"]  = ToJson(roVidParam);
    }
    oOutput["display"] = ToJson(roOutput.ooDisplay);
    return oOutput;
}

Json ToJson(KUINT32 uiDevice, const SDeviceStatus& roDevice)
{
    if (!roDevice.strProblem.empty())
        return {{"device", uiDevice}, {"problem", roDevice.strProblem}};
    Json oFpgas   = Json::array();
    Json oOutputs = Json::array();
    for (const tagTBoard_FpgaInfo& roFpga : roDevice.aoFpgas)
        oFpgas.push_back(ToJson(roFpga));
    for (size_t uiOutput = 0; uiOutput < roDevice.aoOutputs.size(); ++uiOutput)
        oOutputs.push_back(ToJson(uiOutput, roDevice.aoOutputs[uiOutput]));
    return {{"device", uiDevice},
            {"fpgas", oFpgas},
            {"registers",
             {{std::to_string(REG_PROGRESS_BAR_RUNNING), roDevice.uiProgressBarRunning},
              {std::to_string(REG_PROGRESS_UPDATE), roDevice.uiProgress}}},
            {"progress", roDevice.GetProgressPct()},
            {"outputs", oOutputs}};
}

void PrintJson(const std::string& strPath, const std::vector<SDeviceStatus>& roDevices)
{
    Json oDevices = Json::array();
    for (KUINT32 uiDevice = 0; uiDevice < roDevices.size(); ++uiDevice)
        oDevices.push_back(ToJson(uiDevice, roDevices[uiDevice]));
    const Json oBoard = {{"board", strPath}, {"devices", oDevices}};
    // A path may hold any bytes. Bytes that are not UTF-8 become the replacement character.
    std::printf("%s\n", oBoard.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
}

void PrintLines(const std::string& strPath, const std::vector<SDeviceStatus>& roDevices)
{
    std::printf("board %s\n", MakePrintable(strPath).c_str());
    for (KUINT32 uiDevice = 0; uiDevice < roDevices.size(); ++uiDevice)
        PrintDevice(uiDevice, roDevices[uiDevice]);
}

// Reads every device. If a device is damaged, the others are read all the same.
std::vector<SDeviceStatus> ReadAll(const Board& roBoard)
{
    const Transaction          oTransaction(roBoard.m_oLocks);
    std::vector<SDeviceStatus> aoDevices(roBoard.m_oState.GetDeviceCount());
    for (KUINT32 uiDevice = 0; uiDevice < aoDevices.size(); ++uiDevice)
    {
        try
        {
            aoDevices[uiDevice] = ReadDeviceStatus(oTransaction, roBoard, uiDevice);
        }
        catch (const BoardError& roError)
        {
            aoDevices[uiDevice].strProblem = roError.what();
        }
    }
    return aoDevices;
}
}

Action AddStatus(CLI::App& roCommand, const PassedOn&)
{
    const auto pbJson = std::make_shared<bool>(false);
    roCommand.add_flag("--json", *pbJson, "As one JSON object on one line, for programs");

    return [pbJson] {
        const Board                      oBoard    = Board::Observe();
        const std::vector<SDeviceStatus> aoDevices = ReadAll(oBoard);
        const std::string&               strPath   = oBoard.m_oFolder.GetPath();
        if (*pbJson)
            PrintJson(strPath, aoDevices);
        else
            PrintLines(strPath, aoDevices);
        for (const SDeviceStatus& roDevice : aoDevices)
        {
            if (!roDevice.strProblem.empty())
                throw BoardError(roDevice.strProblem);
        }
    };
}
}
