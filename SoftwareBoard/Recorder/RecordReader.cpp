#include "RecordReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "BoardError.h"
#include "FileDescriptor.h"
#include "RecordFile.h"

namespace SoftwareBoard::Recorder
{
namespace
{
constexpr std::string_view FIRST_LINE = "{\"record\":";
constexpr KUINT64          MAX_NS     = KUINT64{1} << 62;
constexpr int              MAX_DEPTH  = 6;

KUINT64 TakeNumber(const Json& roLine, const char* pszKey, KUINT64 uiMax)
{
    const Json& roValue = roLine.at(pszKey);
    if (!roValue.is_number_unsigned() || roValue.get<KUINT64>() > uiMax)
        throw BoardError(std::string(pszKey) + " is no such number");
    return roValue.get<KUINT64>();
}

// What is known of a call before it returns. Throws BoardError or Json::exception if this is no call.
SCall TakeBegin(const Json& roCall)
{
    SCall oCall;
    oCall.uiAtNs               = TakeNumber(roCall, "at", MAX_NS);
    const std::string& strName = roCall.at("operation").get_ref<const std::string&>();
    const auto         i       = std::ranges::find(OPERATIONS, strName, &SOperation::svName);
    if (i == OPERATIONS.end())
        throw BoardError("there is no operation " + strName);
    oCall.eOperation = static_cast<EOperation>(i - OPERATIONS.begin());
    oCall.oArguments = roCall.at("arguments");
    if (!AreArguments(*i, oCall.oArguments))
        throw BoardError("these are no arguments of " + strName);
    return oCall;
}

SCall TakeCall(const Json& roLine, KUINT64 uiLine)
{
    if (TakeNumber(roLine, "call", MAX_NS) != uiLine - 1)
        throw BoardError("calls before it are missing");
    SCall             oCall       = TakeBegin(roLine);
    const SOperation& roOperation = oCall.Row();
    oCall.uiLine                  = uiLine;
    oCall.uiTookNs                = TakeNumber(roLine, "took", MAX_NS);
    oCall.uiThread                = static_cast<KUINT32>(TakeNumber(roLine, "thread", 0xFFFFFFFF));
    oCall.oResult                 = roLine.at(roOperation.oResult.eKind == EKind::Status ? "status" : "result");
    oCall.oFilled                 = roLine.at("filled");
    if (!IsValue(roOperation.oResult, oCall.oResult) || !IsFilled(roOperation, oCall.oArguments, oCall.oFilled))
        throw BoardError(std::string(roOperation.svName) + " does not answer so");
    return oCall;
}
}

RecordReader::RecordReader(std::string_view svText, const std::string& strFile) : m_svRest(svText)
{
    const size_t uiCommon = std::min(svText.size(), FIRST_LINE.size());
    if (svText.substr(0, uiCommon) != FIRST_LINE.substr(0, uiCommon))
        throw BoardError(strFile + ": not a record");
    if (const auto ooLine = TakeLine())
        TakeHeader(*ooLine, strFile);
}

std::nullopt_t RecordReader::EndHere(const std::string& strWhy)
{
    m_bOver     = true;
    m_strDamage = "line " + std::to_string(m_uiLine) + " of the record: " + strWhy;
    return std::nullopt;
}

// The next line. Nothing if there is none, or if it is no JSON object.
std::optional<Json> RecordReader::TakeLine()
{
    ++m_uiLine;
    const size_t uiEnd = m_svRest.find('\n');
    // What is deeper than a record is dropped: objects of any depth would take as many calls to copy.
    const auto fIsKept = [](int iDepth, Json::parse_event_t, const Json&) { return iDepth <= MAX_DEPTH; };
    Json       oLine   = Json::parse(m_svRest.substr(0, uiEnd), fIsKept, false);
    if (!oLine.is_object())
        return EndHere(uiEnd == std::string_view::npos ? "it is cut here" : "it is damaged here");
    m_svRest.remove_prefix(uiEnd == std::string_view::npos ? m_svRest.size() : uiEnd + 1);
    return oLine;
}

void RecordReader::TakeHeader(const Json& roLine, const std::string& strFile)
{
    const Json oVersion = roLine.value("record", Json());
    const auto iLibrary = roLine.find("library");
    const auto iCommand = roLine.find("command");
    const auto fIsText  = [](const Json& ro) { return ro.is_string(); };
    if (oVersion.is_number() && oVersion != RECORD_VERSION)
        throw BoardError(strFile + ": a record of version " + oVersion.dump() + ", and this program reads version " +
                         std::to_string(RECORD_VERSION));
    if (!oVersion.is_number() || iLibrary == roLine.end() || !fIsText(*iLibrary) || iCommand == roLine.end() ||
        !iCommand->is_array() || !std::ranges::all_of(*iCommand, fIsText))
        throw BoardError(strFile + ": not a record");
    m_strLibrary  = iLibrary->get<std::string>();
    m_astrCommand = iCommand->get<std::vector<std::string>>();
}

bool RecordReader::TakeEnd(const Json& roLine)
{
    const Json& roEnd = roLine.at("end");
    m_bSignal         = roEnd.contains("signal");
    m_iEnd            = static_cast<int>(TakeNumber(roEnd, m_bSignal ? "signal" : "exit", 255));
    for (const Json& roSignal : roLine.value("signals", Json::array()))
        m_aoSignals.push_back({static_cast<int>(TakeNumber(roSignal, "signal", 64)), TakeNumber(roSignal, "at", MAX_NS)});
    for (const Json& roCall : roLine.value("during", Json::array()))
        m_aoDuring.push_back(TakeBegin(roCall));
    return m_svRest.empty();
}

std::optional<SCall> RecordReader::Next()
{
    if (m_bOver)
        return std::nullopt;
    const auto ooLine = TakeLine();
    if (!ooLine)
        return std::nullopt;
    try
    {
        if (!ooLine->contains("end"))
            return TakeCall(*ooLine, m_uiLine);
        m_bOver = true;
        return TakeEnd(*ooLine) ? std::nullopt : EndHere("more follows its end");
    }
    catch (const std::exception& roError)
    {
        return EndHere(std::string("it is damaged here: ") + roError.what());
    }
}

std::vector<SSignal> RecordReader::FindSignals() const
{
    RecordReader oLast  = *this;
    const size_t uiLast = m_svRest.substr(0, m_svRest.find_last_not_of('\n') + 1).rfind('\n');
    oLast.m_svRest.remove_prefix(uiLast == std::string_view::npos ? 0 : uiLast + 1);
    oLast.Next();
    return oLast.GetSignals();
}

std::string ReadRecordFile(const std::string& strPath)
{
    const auto oFile = FileDescriptor::AboveStandardStreams(open(strPath.c_str(), O_RDONLY | O_CLOEXEC));
    if (!oFile)
        ThrowSystemError(strPath, "open");
    std::string               strText;
    std::array<char, 1 << 16> acRead;
    for (ssize_t iRead = 0; (iRead = read(oFile.Get(), acRead.data(), acRead.size())) != 0;)
    {
        if (iRead < 0)
            ThrowSystemError(strPath, "read");
        strText.append(acRead.data(), static_cast<size_t>(iRead));
    }
    return strText;
}
}
