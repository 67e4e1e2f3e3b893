// Reads a record, line by line, up to its end or to where it is cut or damaged. What it returns was checked against the
// table of operations, so a damaged record does no harm.
#ifndef RECORD_READER_H
#define RECORD_READER_H

#include <optional>
#include <string>
#include <vector>

#include "CallValues.h"

namespace SoftwareBoard::Recorder
{
struct SCall  // NOLINT(bugprone-exception-escape): moving JSON does not throw
{
    KUINT64    uiLine     = 0;  // of the record, from 1
    KUINT64    uiAtNs     = 0;  // since the start
    KUINT64    uiTookNs   = 0;
    KUINT32    uiThread   = 0;
    EOperation eOperation = {};
    Json       oArguments;
    Json       oResult;  // a status, a number or a handle's name
    Json       oFilled;

    const SOperation& Row() const { return TableRow(eOperation); }
    bool              Failed() const { return Row().oResult.eKind == EKind::Status && oResult < 0; }
};

struct SSignal
{
    int     iSignal;
    KUINT64 uiAtNs;  // since the start
};

class RecordReader
{
public:
    // Throws BoardError, which names the file, if the text is no record. Copies are cheap; the text must outlive them.
    RecordReader(std::string_view svText, const std::string& strFile);

    // The next call. Nothing after the last one that can be read.
    std::optional<SCall> Next();

    // Looks ahead, to the last line, for GetSignals.
    std::vector<SSignal> FindSignals() const;

    // How the record ends, once Next has returned nothing. A complete one has no damage; the text says where it is and what.
    const std::string&          GetDamage() const { return m_strDamage; }
    const std::vector<SSignal>& GetSignals() const { return m_aoSignals; }  // that came to the command
    // The calls that had not returned when the run ended; their result and what they filled are null.
    const std::vector<SCall>& GetDuring() const { return m_aoDuring; }
    KUINT64                   GetLine() const { return m_uiLine; }  // the last that was looked at
    bool                      EndsBySignal() const { return m_bSignal; }
    int                       GetEnd() const { return m_iEnd; }  // the exit status or the signal

    const std::string&              GetLibrary() const { return m_strLibrary; }
    const std::vector<std::string>& GetCommand() const { return m_astrCommand; }

private:
    std::optional<Json> TakeLine();
    std::nullopt_t      EndHere(const std::string& strWhy);
    void                TakeHeader(const Json& roLine, const std::string& strFile);
    bool                TakeEnd(const Json& roLine);

    std::string_view         m_svRest;
    KUINT64                  m_uiLine = 0;
    bool                     m_bOver  = false;
    std::string              m_strDamage;
    std::string              m_strLibrary;
    std::vector<std::string> m_astrCommand;
    bool                     m_bSignal = false;
    int                      m_iEnd    = 0;
    std::vector<SSignal>     m_aoSignals;
    std::vector<SCall>       m_aoDuring;
};

// The whole file. Throws BoardError.
std::string ReadRecordFile(const std::string& strPath);
}

#endif
