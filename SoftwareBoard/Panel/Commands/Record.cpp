// tavrin-board record: a command's run, with every call of its device library in a file.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <memory>

#include "BoardError.h"
#include "CallValues.h"
#include "CallsInFlight.h"
#include "ChildCommand.h"
#include "Commands.h"
#include "Installation.h"
#include "LibrarySearch.h"
#include "Options.h"
#include "RecordFile.h"
#include "Utf8Text.h"

namespace SoftwareBoard::Panel
{
namespace
{
using Recorder::Json;

std::string MakeHeader(const std::string& strLibrary, const PassedOn& roCommand)
{
    bool bBytes = false;
    Json oWords = Json::array();
    for (const char* const pszWord : roCommand)
    {
        if (pszWord != nullptr)
            oWords.push_back(Recorder::ToUtf8(pszWord, bBytes));
    }
    return Json{{"record", Recorder::RECORD_VERSION},
                {"library", Recorder::ToUtf8(strLibrary, bBytes)},
                {"command", std::move(oWords)}}
        .dump();
}

std::string MakeEnd(const SEnd& roEnd, KUINT64 uiStart, const Recorder::CallsInFlight& roInFlight)
{
    Json oLine = {{"end", {{roEnd.bSignal ? "signal" : "exit", roEnd.iValue}}}};
    for (const Recorder::SSignal& roSignal : roEnd.aoSignals)
        oLine["signals"].push_back({{"signal", roSignal.iSignal}, {"at", roSignal.uiAtNs - uiStart}});
    for (const std::string& strCall : roInFlight.Read())
    {
        if (Json oCall = Json::parse(strCall, nullptr, false); oCall.contains("operation"))
            oLine["during"].push_back(std::move(oCall));
    }
    return oLine.dump();
}

void Record(const std::string& strPath, const std::string& strChosen, const PassedOn& roCommand)
{
    RequireProgram(roCommand.front());
    const std::string strLibrary = FindDeviceLibrary(roCommand.front(), strChosen, FindLibraryFolder("record"));

    const FileDescriptor oEmpty(open(strPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!oEmpty)
        ThrowSystemError(strPath, "open");
    Recorder::RecordFile oRecord(strPath);
    if (!oRecord.Append([&](const auto&) { return MakeHeader(strLibrary, roCommand); }))
        ThrowSystemError(strPath, "write");

    const Recorder::CallsInFlight oInFlight;
    const KUINT64                 uiStart = Recorder::NowNs();
    SetVariable(Recorder::RECORD_FILE_VARIABLE, std::filesystem::absolute(strPath));
    SetVariable(Recorder::RECORD_LIBRARY_VARIABLE, strLibrary);
    SetVariable(Recorder::RECORD_START_VARIABLE, std::to_string(uiStart));
    SetVariable(Recorder::RECORD_CALLS_VARIABLE, oInFlight.GetPath());
    UseLibrary("record");
    const SEnd oEnd = RunChild(roCommand);

    if (!oRecord.Append([&](const auto&) { return MakeEnd(oEnd, uiStart, oInFlight); }))
        std::fprintf(stderr, "tavrin-board: the record is cut, as it could not be written to its end\n");
    else if (oRecord.GetRecorded().uiCalls == 0)
        std::fprintf(stderr, "tavrin-board: the command called no device library, so the record is empty\n");
    oEnd.PassOn();
}
}

Action AddRecord(CLI::App& roCommand, const PassedOn& roPassedOn)
{
    struct SOptions
    {
        std::string strPath;
        std::string strLibrary;
    };
    const auto poOptions = std::make_shared<SOptions>();
    roCommand.add_option("FILE", poOptions->strPath, "The record to write")->required();
    roCommand
        .add_option("--library", poOptions->strLibrary,
                    "The device library to pass the calls on to (default: the one that the\ncommand would find)")
        ->type_name("PATH");
    RequireCommand(roCommand, roPassedOn);
    return [poOptions, &roPassedOn] { Record(poOptions->strPath, poOptions->strLibrary, roPassedOn); };
}
}
