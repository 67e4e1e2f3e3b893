#include "CallValues.h"

#include <charconv>
#include <cstring>

namespace SoftwareBoard::Recorder
{
namespace
{
constexpr std::string_view HANDLE_WORDS[] = {"device ", "buffer ", "output "};

// The member of a record that says that its texts are bytes (ToUtf8), so that they can be written back as they were.
constexpr char BYTES[] = "bytes";
// What stands for the address of a plane beside one that is null.
constexpr char ADDRESS[] = "address";
// The field that a client sets in a record that is to be filled.
constexpr std::string_view SIZE_FIELD = "uiSize";

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

std::string FromUtf8(const std::string& strText)
{
    std::string strBytes;
    for (size_t ui = 0; ui < strText.size(); ++ui)
    {
        const auto cLead = static_cast<unsigned char>(strText[ui]);
        if (cLead >= 0x80 && ui + 1 < strText.size())
            strBytes += static_cast<char>((cLead & 0x03) << 6 | (strText[++ui] & 0x3F));
        else
            strBytes += strText[ui];
    }
    return strBytes;
}

Json ReadField(const SField& roField, const KUINT8* puiField, bool& rbBytes)
{
    if (roField.bText)
    {
        const auto* const pszText = reinterpret_cast<const char*>(puiField);
        return ToUtf8({pszText, strnlen(pszText, roField.uiCount)}, rbBytes);
    }
    if (roField.uiCount == 0)
        return ReadNumber(puiField, roField.uiSize) >> roField.uiFirstBit & MaxOf(roField);
    Json oNumbers = Json::array();
    for (size_t ui = 0; ui < roField.uiCount; ++ui)
        oNumbers.push_back(ReadNumber(puiField + ui * roField.uiSize, roField.uiSize));
    return oNumbers;
}

// The fields that lie within the first uiSize bytes.
Json ReadRecord(std::span<const SField> aoFields, const void* pRecord, size_t uiSize)
{
    Json oRecord = Json::object();
    bool bBytes  = false;
    for (const SField& roField : aoFields)
    {
        if (roField.uiOffset + roField.uiSize * std::max<size_t>(roField.uiCount, 1) <= uiSize)
            oRecord.emplace(roField.svName,
                            ReadField(roField, static_cast<const KUINT8*>(pRecord) + roField.uiOffset, bBytes));
    }
    if (bBytes)
        oRecord.emplace(BYTES, true);
    return oRecord;
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
    case EKind::Status: return roValue.is_number_integer() && roValue == static_cast<KINT32>(roValue.get<KINT64>());
    case EKind::Handle: return roValue.is_null() || HandleNames::NumberIn(roType.eHandle, roValue);
    case EKind::Record: return IsRecord(roType.aoFields, roValue);
    case EKind::Planes:
        return roValue.is_array() && roValue.size() <= MAX_PLANES &&
               std::ranges::all_of(roValue, [](const Json& ro) { return ro.is_null() || ro.is_string(); });
    }
    return false;
}


std::string ToUtf8(std::string_view svBytes, bool& rbBytes)
{
    std::string strText(svBytes);
    try
    {
        (void)Json(strText).dump();
        return strText;
    }
    catch (const Json::exception&)
    {
        rbBytes = true;
    }
    strText.clear();
    for (const char c : svBytes)
    {
        const auto ui = static_cast<unsigned char>(c);
        if (ui >= 0x80)
            strText += static_cast<char>(0xC0 | ui >> 6);
        strText += static_cast<char>(ui < 0x80 ? ui : 0x80 | (ui & 0x3F));
    }
    return strText;
}

Json HandleNames::NameOf(EHandle eHandle, KUINT64 uiHandle)
{
    if (uiHandle == 0)
        return nullptr;
    const auto [i, bNew] = m_oNames.try_emplace({eHandle, uiHandle});
    if (bNew)
        i->second.uiNumber = ++m_auiLast[static_cast<size_t>(eHandle)];
    return std::string(HANDLE_WORDS[static_cast<size_t>(eHandle)]) + std::to_string(i->second.uiNumber);
}

Json HandleNames::NameReturned(EHandle eHandle, KUINT64 uiHandle)
{
    if (const auto i = m_oNames.find({eHandle, uiHandle}); i != m_oNames.end() && i->second.bEnded)
        m_oNames.erase(i);
    return NameOf(eHandle, uiHandle);
}

void HandleNames::End(EHandle eHandle, KUINT64 uiHandle)
{
    if (const auto i = m_oNames.find({eHandle, uiHandle}); i != m_oNames.end())
        i->second.bEnded = true;
}

void HandleNames::Learn(EHandle eHandle, KUINT64 uiHandle, KUINT32 uiNumber)
{
    m_oNames[{eHandle, uiHandle}] = {uiNumber, false};
    KUINT32& ruiLast              = m_auiLast[static_cast<size_t>(eHandle)];
    ruiLast                       = std::max(ruiLast, uiNumber);
}

std::optional<KUINT32> HandleNames::NumberIn(EHandle eHandle, const Json& roName)
{
    const std::string_view svWord = HANDLE_WORDS[static_cast<size_t>(eHandle)];
    const std::string      strName = roName.is_string() ? roName.get<std::string>() : "";
    const char* const      pszEnd  = strName.data() + strName.size();
    KUINT32                uiNumber = 0;
    if (!strName.starts_with(svWord))
        return std::nullopt;
    const auto oResult = std::from_chars(strName.data() + svWord.size(), pszEnd, uiNumber);
    return oResult.ec == std::errc() && oResult.ptr == pszEnd && uiNumber != 0 ? std::optional(uiNumber) : std::nullopt;
}

Json ReadArguments(const SOperation& roOperation, const Words& roArguments, HandleNames& roNames)
{
    Json oArguments = Json::object();
    for (size_t ui = 0; ui < roOperation.uiParameters; ++ui)
    {
        const SParameter&  roParameter = roOperation.aoParameters[ui];
        const SType&       roType      = roParameter.oType;
        const void* const  pBehind     = roType.IsPointer() ? FromWord<const void*>(roArguments[ui]) : nullptr;
        Json               oValue;
        if (!roType.IsPointer())
            oValue = roType.eKind == EKind::Handle ? roNames.NameOf(roType.eHandle, roArguments[ui]) : Json(roArguments[ui]);
        else if (pBehind != nullptr && !roType.bFilled)
            oValue = ReadRecord(roType.aoFields, pBehind, roType.uiSize);
        else if (pBehind != nullptr)
        {
            oValue = Json::object();
            if (!roType.aoFields.empty() && roType.aoFields[0].svName == SIZE_FIELD)
                oValue.emplace(SIZE_FIELD, ReadNumber(pBehind, sizeof(KUINT32)));
        }
        oArguments.emplace(roParameter.svName, std::move(oValue));
    }
    return oArguments;
}

size_t FilledSize(const SOperation& roOperation, const Words& roArguments)
{
    const size_t ui = roOperation.FindFilled();
    if (ui == roOperation.uiParameters || roArguments[ui] == 0)
        return 0;
    const SType& roType = roOperation.aoParameters[ui].oType;
    if (roType.eKind == EKind::Planes)
        return roType.uiSize * std::min<KUINT64>(roArguments[ui - 1], MAX_PLANES);
    if (!roType.aoFields.empty() && roType.aoFields[0].svName == SIZE_FIELD)
        return std::min<KUINT64>(roType.uiSize, ReadNumber(FromWord<const void*>(roArguments[ui]), sizeof(KUINT32)));
    return roType.uiSize;
}

Json ReadFilled(const SOperation& roOperation, const Words& roArguments, size_t uiSize, HandleNames& roNames)
{
    const size_t ui      = roOperation.FindFilled();
    Json         oFilled = Json::object();
    if (uiSize == 0)
        return oFilled;
    const SParameter& roParameter = roOperation.aoParameters[ui];
    const void* const pFilled     = FromWord<const void*>(roArguments[ui]);
    Json              oValue;
    switch (roParameter.oType.eKind)
    {
    case EKind::Handle: oValue = roNames.NameReturned(roParameter.oType.eHandle, ReadNumber(pFilled, uiSize)); break;
    case EKind::Record: oValue = ReadRecord(roParameter.oType.aoFields, pFilled, uiSize); break;
    case EKind::Planes:
    {
        bool bNull = false;
        for (size_t uiAt = 0; uiAt < uiSize; uiAt += sizeof(KUINTPTR))
        {
            const bool bIsNull = ReadNumber(static_cast<const KUINT8*>(pFilled) + uiAt, sizeof(KUINTPTR)) == 0;
            bNull              = bNull || bIsNull;
            oValue.push_back(bIsNull ? Json() : Json(ADDRESS));
        }
        if (!bNull)
            return oFilled;
        break;
    }
    default: oValue = ReadNumber(pFilled, uiSize); break;
    }
    oFilled.emplace(roParameter.svName, std::move(oValue));
    return oFilled;
}

void WriteRecord(std::span<const SField> aoFields, const Json& roRecord, void* pRecord, size_t uiSize)
{
    for (const SField& roField : aoFields)
    {
        const auto    i        = roRecord.find(roField.svName);
        KUINT8* const puiField = static_cast<KUINT8*>(pRecord) + roField.uiOffset;
        if (i == roRecord.end() || roField.uiOffset + roField.uiSize * std::max<size_t>(roField.uiCount, 1) > uiSize)
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
    const size_t uiSize = FilledSize(roOperation, roArguments);
    if (uiSize == 0)
        return;
    const size_t      ui          = roOperation.FindFilled();
    const SParameter& roParameter = roOperation.aoParameters[ui];
    void* const       pFilled     = FromWord<void*>(roArguments[ui]);
    const auto        i           = roFilled.find(roParameter.svName);
    if (i == roFilled.end())
        return;
    if (roParameter.oType.eKind == EKind::Record)
        WriteRecord(roParameter.oType.aoFields, *i, pFilled, uiSize);
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
    const size_t ui = roOperation.FindFilled();
    if (ui == roOperation.uiParameters || roFilled.size() != 1)
        return false;
    const SParameter& roParameter = roOperation.aoParameters[ui];
    const auto        i           = roFilled.find(roParameter.svName);
    return i != roFilled.end() && !roArguments.at(roParameter.svName).is_null() && IsValue(roParameter.oType, *i);
}
}
