// Writes one JSON text, piece by piece in the order in which it is read. What it writes is valid whatever bytes the strings
// hold: those that are no UTF-8 become the replacement character.
#ifndef JSON_H
#define JSON_H

#include <string>
#include <string_view>

#include "QelTypes.h"

namespace SoftwareBoard::Panel
{
class JsonWriter
{
public:
    JsonWriter& BeginObject() { return Open('{'); }
    JsonWriter& EndObject() { return Close('}'); }
    JsonWriter& BeginArray() { return Open('['); }
    JsonWriter& EndArray() { return Close(']'); }

    // Before a value, inside an object.
    JsonWriter& Key(std::string_view svName);

    JsonWriter& Number(KINT64 iValue) { return Plain(std::to_string(iValue)); }
    JsonWriter& Bool(bool bValue) { return Plain(bValue ? "true" : "false"); }
    JsonWriter& Null() { return Plain("null"); }
    JsonWriter& String(std::string_view svValue);

    const std::string& GetText() const { return m_strText; }

private:
    JsonWriter& Open(char c);
    JsonWriter& Close(char c);
    JsonWriter& Plain(std::string_view svValue);
    void        Separate();
    void        AppendQuoted(std::string_view svValue);

    std::string m_strText;
    bool        m_bSeparate = false;  // something stands before the next piece that a comma must part it from
};
}

#endif
