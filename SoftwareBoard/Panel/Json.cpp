#include "Json.h"

#include <algorithm>
#include <cstdio>

namespace SoftwareBoard::Panel
{
namespace
{
// How many bytes at the front are one well-formed UTF-8 character: the shortest form of a code point that may stand alone.
size_t LengthOfCharacter(std::string_view sv)
{
    const auto fByte  = [&](size_t uiAt) { return static_cast<unsigned char>(sv[uiAt]); };
    const auto uiLead = fByte(0);
    if (uiLead < 0x80)
        return 1;
    const size_t uiLength = uiLead >= 0xC2 && uiLead < 0xE0 ? 2
                            : (uiLead & 0xF0) == 0xE0       ? 3
                            : (uiLead & 0xF8) == 0xF0       ? 4
                                                            : 0;
    if (uiLength == 0 || sv.size() < uiLength)
        return 0;
    for (size_t uiAt = 1; uiAt < uiLength; ++uiAt)
    {
        if ((fByte(uiAt) & 0xC0) != 0x80)
            return 0;
    }
    const auto uiSecond   = fByte(1);
    const bool bTooLong   = (uiLead == 0xE0 && uiSecond < 0xA0) || (uiLead == 0xF0 && uiSecond < 0x90);
    const bool bSurrogate = uiLead == 0xED && uiSecond >= 0xA0;
    const bool bBeyond    = uiLead > 0xF4 || (uiLead == 0xF4 && uiSecond >= 0x90);
    return bTooLong || bSurrogate || bBeyond ? 0 : uiLength;
}
}

JsonWriter& JsonWriter::Key(std::string_view svName)
{
    Separate();
    AppendQuoted(svName);
    m_strText += ':';
    m_bSeparate = false;
    return *this;
}

JsonWriter& JsonWriter::String(std::string_view svValue)
{
    Separate();
    AppendQuoted(svValue);
    return *this;
}

JsonWriter& JsonWriter::Open(char c)
{
    Separate();
    m_strText += c;
    m_bSeparate = false;
    return *this;
}

JsonWriter& JsonWriter::Close(char c)
{
    m_strText += c;
    m_bSeparate = true;
    return *this;
}

JsonWriter& JsonWriter::Plain(std::string_view svValue)
{
    Separate();
    m_strText += svValue;
    return *this;
}

void JsonWriter::Separate()
{
    if (m_bSeparate)
        m_strText += ',';
    m_bSeparate = true;
}

void JsonWriter::AppendQuoted(std::string_view svValue)
{
    m_strText += '"';
    while (!svValue.empty())
    {
        const size_t uiLength = LengthOfCharacter(svValue);
        const char   c        = svValue.front();
        if (uiLength == 0)
            m_strText += "\xEF\xBF\xBD";
        else if (c == '"' || c == '\\')
            (m_strText += '\\') += c;
        else if (uiLength == 1 && (c < ' ' || c == '\x7F'))
        {
            char acEscape[8];
            std::snprintf(acEscape, sizeof(acEscape), "\\u%04x", static_cast<unsigned>(c));
            m_strText += acEscape;
        }
        else
            m_strText += svValue.substr(0, uiLength);
        svValue.remove_prefix(std::max<size_t>(uiLength, 1));
    }
    m_strText += '"';
}
}
