#include <cstdio>
#include <memory>

#include "Board.h"
#include "BoardError.h"
#include "Commands.h"
#include "DeviceStatus.h"
#include "Json.h"
#include "Options.h"
#include "Timing.h"

namespace SoftwareBoard::Panel
{
namespace
{
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
    std::printf("  register %u (progress bar running): 0x%08x\n", uiProgressBarRunningReg, roDevice.uiProgressBarRunning);
    std::printf("  register %u (progress): 0x%08x (%u %%)\n", uiProgressReg, roDevice.uiProgress, roDevice.GetProgressPct());
    for (size_t uiOutput = 0; uiOutput < roDevice.aoOutputs.size(); ++uiOutput)
    {
        const SOutputStatus& roOutput = roDevice.aoOutputs[uiOutput];
        std::printf("  output %zu: %s\n", uiOutput, DescribeOutput(roOutput).c_str());
        if (roOutput.oRecord.bEnabled == TRUE)
            std::printf("    timing: %s\n", DescribeTiming(roOutput.oRecord.oVidParam).c_str());
    }
}

void WriteFpga(JsonWriter& roJson, const tagTBoard_FpgaInfo& roFpga)
{
    roJson.BeginObject().Key("name").String(roFpga.szName).Key("device_code").Number(roFpga.ui16DevID);
    roJson.Key("major").Number(roFpga.uiVersionMajor).Key("minor").Number(roFpga.uiVersionMinor);
    roJson.Key("build").Number(roFpga.uiVersionBuild);
    roJson.Key("address").Number(roFpga.uiI2cAddress).Key("vendor").Number(roFpga.ui16VendorID).EndObject();
}

void WriteTiming(JsonWriter& roJson, const tagTVideo_VidParam& roVidParam)
{
    roJson.BeginObject();
    for (const STimingField& roField : TimingFields())
    {
        const KUINT32 uiValue = roField.pfGet(roVidParam);
        roJson.Key(roField.pszName);
        if (roField.eKind == ETimingKind::NUMBER)
            roJson.Number(uiValue);
        else if (roField.eKind != ETimingKind::WORD)
            roJson.Bool(uiValue != 0);
        else if (const char* pszWord = WordOf(roField, uiValue))
            roJson.String(pszWord);
        else
            roJson.Null();
    }
    roJson.EndObject();
}

// Null where there is none.
void WriteText(JsonWriter& roJson, const std::string& strText)
{
    if (strText.empty())
        roJson.Null();
    else
        roJson.String(strText);
}

void WriteOutput(JsonWriter& roJson, KUINT32 uiOutput, const SOutputStatus& roOutput)
{
    const tagTVideo_VidParam& roVidParam = roOutput.oRecord.oVidParam;
    const bool                bEnabled   = roOutput.oRecord.bEnabled == TRUE;
    roJson.BeginObject().Key("output").Number(uiOutput).Key("enabled").Bool(bEnabled);
    if (bEnabled)
    {
        roJson.Key("width").Number(roVidParam.uiHActive).Key("height").Number(roVidParam.uiVActive);
        roJson.Key("rate_hz").Number(roVidParam.uiVRate_Hz).Key("holder");
        if (const auto& roHolder = roOutput.ooHolder)
            roJson.BeginObject().Key("pid").Number(roHolder->iPid).Key("name").String(roHolder->strName).EndObject();
        else
            roJson.Null();
        roJson.Key("timing");
        WriteTiming(roJson, roVidParam);
    }
    roJson.Key("display");
    if (const auto& roDisplay = roOutput.ooDisplay)
    {
        roJson.BeginObject().Key("connector");
        WriteText(roJson, roDisplay->strConnector);
        roJson.Key("state").String(NameOf(roDisplay->eState)).Key("reason");
        WriteText(roJson, roDisplay->strReason);
        roJson.EndObject();
    }
    else
        roJson.Null();
    roJson.EndObject();
}

void WriteDevice(JsonWriter& roJson, KUINT32 uiDevice, const SDeviceStatus& roDevice)
{
    roJson.BeginObject().Key("device").Number(uiDevice);
    if (!roDevice.strProblem.empty())
    {
        roJson.Key("problem").String(roDevice.strProblem).EndObject();
        return;
    }
    roJson.Key("fpgas").BeginArray();
    for (const tagTBoard_FpgaInfo& roFpga : roDevice.aoFpgas)
        WriteFpga(roJson, roFpga);
    roJson.EndArray().Key("registers").BeginObject();
    roJson.Key(std::to_string(uiProgressBarRunningReg)).Number(roDevice.uiProgressBarRunning);
    roJson.Key(std::to_string(uiProgressReg)).Number(roDevice.uiProgress).EndObject();
    roJson.Key("progress").Number(roDevice.GetProgressPct()).Key("outputs").BeginArray();
    for (KUINT32 uiOutput = 0; uiOutput < roDevice.aoOutputs.size(); ++uiOutput)
        WriteOutput(roJson, uiOutput, roDevice.aoOutputs[uiOutput]);
    roJson.EndArray().EndObject();
}

void PrintJson(const std::string& strPath, const std::vector<SDeviceStatus>& roDevices)
{
    JsonWriter oJson;
    oJson.BeginObject().Key("board").String(strPath).Key("devices").BeginArray();
    for (KUINT32 uiDevice = 0; uiDevice < roDevices.size(); ++uiDevice)
        WriteDevice(oJson, uiDevice, roDevices[uiDevice]);
    oJson.EndArray().EndObject();
    std::printf("%s\n", oJson.GetText().c_str());
}

void PrintLines(const std::string& strPath, const std::vector<SDeviceStatus>& roDevices)
{
    std::printf("board %s\n", MakePrintable(strPath).c_str());
    for (KUINT32 uiDevice = 0; uiDevice < roDevices.size(); ++uiDevice)
        PrintDevice(uiDevice, roDevices[uiDevice]);
}

// A damaged device does not keep the others from being told of.
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
