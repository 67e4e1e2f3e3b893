// The values of a call and JSON: what stands in a record for the words of a call and for the memory behind them.
#ifndef CALL_VALUES_H
#define CALL_VALUES_H

#include <string>

#include "HandleNames.h"

namespace SoftwareBoard::Recorder
{
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
