// The values of a call and JSON: what stands in a record for the words of a call and for the memory behind them.
#ifndef CALL_VALUES_H
#define CALL_VALUES_H

#include <map>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "Operations.h"

namespace SoftwareBoard::Recorder
{
using Json = nlohmann::ordered_json;  // keys stay in the order of the table

// A text as it can stand in JSON. One that is no UTF-8 becomes one in which each byte is the code point of its value;
// then rbBytes is set, otherwise it stays.
std::string ToUtf8(std::string_view svBytes, bool& rbBytes);

// The names of handles in a record, as JSON in text: "device 1", "buffer 1", "output 1", null. Each kind counts from 1.
class HandleNames
{
public:
    // The name of a handle that a client passes; one that was never seen gets the next number.
    std::string NameOf(EHandle eHandle, KUINT64 uiHandle);
    // The name of a handle that the library returned. After the handle has ended it means another object.
    std::string NameReturned(EHandle eHandle, KUINT64 uiHandle);
    void        End(EHandle eHandle, KUINT64 uiHandle);
    // Gives the handle the number of this name.
    void Learn(EHandle eHandle, KUINT64 uiHandle, KUINT32 uiNumber);

    // The number in a name; nothing if it is no name of this kind.
    static std::optional<KUINT32> NumberIn(EHandle eHandle, const Json& roName);

private:
    struct SName
    {
        KUINT32 uiNumber;
        bool    bEnded;
    };
    std::map<std::pair<EHandle, KUINT64>, SName> m_oNames;
    std::array<KUINT32, 3>                       m_auiLast = {};
};

// What the client passes, as an object in text. Of a record that the library fills, only the size that the client gives is
// its own: the rest is memory without meaning, and is left out.
std::string ReadArguments(const SOperation& roOperation, const Words& roArguments, HandleNames& roNames);

// How many bytes behind the pointer belong to the client: the size that it gives, where a record holds it.
size_t FilledSize(const SOperation& roOperation, const Words& roArguments);
// What the library has written behind the pointer, as an object of one member or none.
std::string ReadFilled(const SOperation& roOperation, const Words& roArguments, size_t uiSize, HandleNames& roNames);
// Writes a record's filled fields, numbers and null addresses behind the pointer. Handles are the caller's to give.
void WriteFilled(const SOperation& roOperation, const Words& roArguments, const Json& roFilled);

// Whether these are what the functions above write.
bool AreArguments(const SOperation& roOperation, const Json& roArguments);
bool IsValue(const SType& roType, const Json& roValue);
bool IsFilled(const SOperation& roOperation, const Json& roArguments, const Json& roFilled);

// The fields of a record in memory, from JSON.
void WriteRecord(std::span<const SField> aoFields, const Json& roRecord, void* pRecord, size_t uiSize);
}

#endif
