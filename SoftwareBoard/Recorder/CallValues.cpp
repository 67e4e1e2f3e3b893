#include "CallValues.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "Utf8Text.h"

namespace SoftwareBoard::Recorder
{
namespace
{
// The member of a record that says that its texts are bytes (ToUtf8), so that they can be written back as they were.
constexpr char BYTES[] = "bytes";
// What stands for the address of a plane beside one that is null.
constexpr char NO_ADDRESS[] = "null", ADDRESS[] = "\"address\"";

constexpr size_t MAX_PLANES = 3;

// Numbers of 1 to 8 bytes. Processors of this project keep the lowest byte first.
KUINT64 ReadNumber(const void* p, size_t uiSize)
{
    KUINT64 uiValue = 0;
    std::memcpy(&uiValue, p, uiSize);
    return uiValue;
}

KUINT64 MaxOf(const SField& roField)
{
    const size_t uiBits = roField.uiBits != 0 ? roField.uiBits : roField.uiSize * 8;
    return ~KUINT64{0} >> (64 - uiBits);
}

bool IsNumber(const Json& roValue, KUINT64 uiMax)
{
    return roValue.is_number_unsigned() && roValue.get<KUINT64>() <= uiMax;
}

// An object as text, member by member. Much faster than an object of the JSON library, and the calls of a run wait for it.
class ObjectText
{
public:
    void Add(std::string_view svName, std::string_view svValue)
    {
        m_strText += m_strText == "{" ? "\"" : ",\"";
        (m_strText.append(svName) += "\":").append(svValue);
    }
    std::string Close() && { return std::move(m_strText) + '}'; }

private:
    std::string m_strText = "{";
};

std::string ReadField(const SField& roField, const KUINT8* puiField, bool& rbBytes)
{
    if (roField.bText)
    {
        const auto* const pszText = reinterpret_cast<const char*>(puiField);
        return Json(ToUtf8({pszText, strnlen(pszText, roField.uiCount)}, rbBytes)).dump();
    }
    if (roField.uiCount == 0)
        return std::to_string(ReadNumber(puiField, roField.uiSize) >> roField.uiFirstBit & MaxOf(roField));
    std::string strNumbers;
    for (size_t ui = 0; ui < roField.uiCount; ++ui)
        strNumbers += (ui == 0 ? '[' : ',') + std::to_string(ReadNumber(puiField + ui * roField.uiSize, roField.uiSize));
    return strNumbers + ']';
}

// The fields that lie within the first uiSize bytes.
std::string ReadRecord(std::span<const SField> aoFields, const void* pRecord, size_t uiSize)
{
    ObjectText oRecord;
    bool       bBytes = false;
    for (const SField& roField : aoFields)
    {
        if (roField.End() <= uiSize)
            oRecord.Add(roField.svName, ReadField(roField, static_cast<const KUINT8*>(pRecord) + roField.uiOffset, bBytes));
    }
    if (bBytes)
        oRecord.Add(BYTES, "true");
    return std::move(oRecord).Close();
}

bool IsFieldValue(const SField& roField, const Json& roValue)
{
    if (roField.bText)
        return roValue.is_string() && FromUtf8(roValue.get_ref<const std::string&>()).size() <= roField.uiCount;
    if (roField.uiCount == 0)
        return IsNumber(roValue, MaxOf(roField));
    return roValue.is_array() && roValue.size() == roField.uiCount &&
           std::ranges::all_of(roValue, [&](const Json& ro) { return IsNumber(ro, MaxOf(roField)); });
}

bool IsRecord(std::span<const SField> aoFields, const Json& roRecord)
{
    return roRecord.is_object() && std::ranges::all_of(aoFields, [&](const SField& roField) {
               const auto i = roRecord.find(roField.svName);
               return i == roRecord.end() || IsFieldValue(roField, *i);
           });
}
}

bool IsValue(const SType& roType, const Json& roValue)
{
    switch (roType.eKind)
    {
    case EKind::Number: return IsNumber(roValue, 0xFFFFFFFF);
    case EKind::Status:
        return IsNumber(roValue, 0x7FFFFFFF) || (roValue.is_number_integer() && !roValue.is_number_unsigned() &&
                                                 roValue.get<KINT64>() >= std::numeric_limits<KINT32>::min());
    case EKind::Handle: return roValue.is_null() || HandleNames::NumberIn(roType.eHandle, roValue);
    case EKind::Record: return IsRecord(roType.aoFields, roValue);
    case EKind::Planes:
        return roValue.is_array() && roValue.size() <= MAX_PLANES &&
               std::ranges::all_of(roValue, [](const Json& ro) { return ro.is_null() || ro.is_string(); });
    }
    return false;
}

std::string ReadArguments(const SOperation& roOperation, const Words& roArguments, HandleNames& roNames)
{
    ObjectText oArguments;
    for (size_t ui = 0; ui < roOperation.uiParameters; ++ui)
    {
        const SType&      roType  = roOperation.aoParameters[ui].oType;
        const void* const pBehind = roType.IsPointer() ? FromWord<const void*>(roArguments[ui]) : nullptr;
        std::string       strValue;
        if (roType.eKind == EKind::Handle && !roType.IsPointer())
            strValue = roNames.NameOf(roType.eHandle, roArguments[ui]);
        else if (!roType.IsPointer())
            strValue = std::to_string(roArguments[ui]);
        else if (pBehind == nullptr)
            strValue = "null";
        else if (!roType.bFilled)
            strValue = ReadRecord(roType.aoFields, pBehind, roType.uiSize);
        else if (roType.HoldsItsSize())
            strValue = ReadRecord(roType.aoFields, pBehind, sizeof(KUINT32));
        else
            strValue = "{}";
        oArguments.Add(roOperation.aoParameters[ui].svName, strValue);
    }
    return std::move(oArguments).Close();
}

size_t FilledSize(const SOperation& roOperation, const Words& roArguments)
{
    const auto oui = roOperation.FindFilled();
    if (!oui || roArguments[*oui] == 0)
        return 0;
    const SType& roType = roOperation.aoParameters[*oui].oType;
    if (roType.eKind == EKind::Planes)
        return roType.uiSize * std::min<KUINT64>(roArguments[*oui - 1], MAX_PLANES);
    if (roType.HoldsItsSize())
        return std::min<KUINT64>(roType.uiSize, ReadNumber(FromWord<const void*>(roArguments[*oui]), sizeof(KUINT32)));
    return roType.uiSize;
}

std::string ReadFilled(const SOperation& roOperation, const Words& roArguments, size_t uiSize, HandleNames& roNames)
{
    const auto oui = roOperation.FindFilled();
    if (!oui || uiSize == 0)
        return "{}";
    const size_t        ui        = *oui;
    const SType&        roType    = roOperation.aoParameters[ui].oType;
    const KUINT8* const puiFilled = FromWord<const KUINT8*>(roArguments[ui]);
    std::string         strValue;
    switch (roType.eKind)
    {
    case EKind::Handle: strValue = roNames.NameReturned(roType.eHandle, ReadNumber(puiFilled, uiSize)); break;
    case EKind::Record: strValue = ReadRecord(roType.aoFields, puiFilled, uiSize); break;
    case EKind::Planes:
        for (size_t uiAt = 0; uiAt < uiSize; uiAt += sizeof(KUINTPTR))
        {
            strValue += uiAt == 0 ? '[' : ',';
            strValue += ReadNumber(puiFilled + uiAt, sizeof(KUINTPTR)) == 0 ? NO_ADDRESS : ADDRESS;
        }
        if (strValue.find(NO_ADDRESS) == std::string::npos)
            return "{}";
        strValue += ']';
        break;
    default: strValue = std::to_string(ReadNumber(puiFilled, uiSize)); break;
    }
    ObjectText oFilled;
    oFilled.Add(roOperation.aoParameters[ui].svName, strValue);
    return std::move(oFilled).Close();
}

void WriteRecord(std::span<const SField> aoFields, const Json& roRecord, void* pRecord, size_t uiSize)
{
    for (const SField& roField : aoFields)
    {
        const auto    i        = roRecord.find(roField.svName);
        KUINT8* const puiField = static_cast<KUINT8*>(pRecord) + roField.uiOffset;
        if (i == roRecord.end() || roField.End() > uiSize)
            continue;
        if (roField.bText)
        {
            const std::string& strText  = i->get_ref<const std::string&>();
            const std::string  strBytes = roRecord.contains(BYTES) ? FromUtf8(strText) : strText;
            std::memset(puiField, 0, roField.uiCount);
            strBytes.copy(reinterpret_cast<char*>(puiField), roField.uiCount);
        }
        else if (roField.uiCount != 0)
        {
            for (size_t ui = 0; ui < roField.uiCount; ++ui)
            {
                const auto uiValue = (*i)[ui].get<KUINT64>();
                std::memcpy(puiField + ui * roField.uiSize, &uiValue, roField.uiSize);
            }
        }
        else
        {
            const KUINT64 uiOthers = ReadNumber(puiField, roField.uiSize) & ~(MaxOf(roField) << roField.uiFirstBit);
            const KUINT64 uiValue  = uiOthers | i->get<KUINT64>() << roField.uiFirstBit;
            std::memcpy(puiField, &uiValue, roField.uiSize);
        }
    }
}

void WriteFilled(const SOperation& roOperation, const Words& roArguments, const Json& roFilled)
{
    const auto oui = roOperation.FindFilled();
    if (!oui)
        return;
    const SParameter& roParameter = roOperation.aoParameters[*oui];
    void* const       pFilled     = FromWord<void*>(roArguments[*oui]);
    const auto        i           = roFilled.find(roParameter.svName);
    if (i == roFilled.end())
        return;
    if (roParameter.oType.eKind == EKind::Record)
        WriteRecord(roParameter.oType.aoFields, *i, pFilled, FilledSize(roOperation, roArguments));
    else if (roParameter.oType.eKind == EKind::Number)
        *static_cast<KUINT32*>(pFilled) = i->get<KUINT32>();
}

bool AreArguments(const SOperation& roOperation, const Json& roArguments)
{
    return roArguments.is_object() && roArguments.size() == roOperation.uiParameters &&
           std::ranges::all_of(roOperation.Parameters(), [&](const SParameter& roParameter) {
               const auto   i      = roArguments.find(roParameter.svName);
               const SType& roType = roParameter.oType;
               if (i == roArguments.end() || !roType.IsPointer())
                   return i != roArguments.end() && IsValue(roType, *i);
               return i->is_null() || (i->is_object() && IsRecord(roType.aoFields, *i));
           });
}

bool IsFilled(const SOperation& roOperation, const Json& roArguments, const Json& roFilled)
{
    if (!roFilled.is_object() || roFilled.empty())
        return roFilled.is_object();
    const auto oui = roOperation.FindFilled();
    if (!oui || roFilled.size() != 1)
        return false;
    const SParameter& roParameter = roOperation.aoParameters[*oui];
    const auto        i           = roFilled.find(roParameter.svName);
    return i != roFilled.end() && !roArguments.at(roParameter.svName).is_null() && IsValue(roParameter.oType, *i);
}
}
