#include "Operations.h"

#include <algorithm>

namespace SoftwareBoard::Recorder
{
namespace
{
// clang-format off
#define NUMBER(Name)           {#Name, offsetof(Record, Name), sizeof(Record::Name)}
#define ARRAY(Name)            {#Name, offsetof(Record, Name), sizeof(Record::Name[0]), std::size(Record().Name)}
#define TEXT(Name)             {#Name, offsetof(Record, Name), 1, sizeof(Record::Name), 0, 0, true}
#define BITS(Name, First, Many) {#Name, FLAGS_OFFSET, 4, 0, First, Many}

// Holds the tables of one record's fields.
template <class TRecord> struct Fields;

template <> struct Fields<tagTVideo_VidParam>
{
    using Record = tagTVideo_VidParam;
    static constexpr size_t FLAGS_OFFSET = offsetof(Record, uiVBPorch) + 4;
    static constexpr SField TABLE[] = {
        NUMBER(uiHActive), NUMBER(uiVActive), NUMBER(uiVRate_Hz), NUMBER(uiHRate_kHz), NUMBER(uiPixelClock_kHz),
        NUMBER(uiHFPorch), NUMBER(uiHSync), NUMBER(uiHBPorch), NUMBER(uiVFPorch), NUMBER(uiVSync), NUMBER(uiVBPorch),
        BITS(bInterlaced, 0, 1), BITS(bBottomFieldFirst, 1, 1), BITS(bHorizontalSyncPositive, 2, 1),
        BITS(bVerticalSyncPositive, 3, 1), BITS(bIsYuv, 4, 1), BITS(fColorSpace, 5, 4), BITS(fChromaSubSampling, 9, 2),
        BITS(fColorDepth, 11, 2), BITS(fIs3GLevelB, 13, 1), BITS(fTransferCharacteristic, 14, 2), BITS(uiReserved1, 16, 16),
        NUMBER(uiReserved2)};
};

template <> struct Fields<tagTBuffer_PlaneInfo>
{
    using Record = tagTBuffer_PlaneInfo;
    static constexpr SField TABLE[] = {
        NUMBER(uiPlaneCount), ARRAY(aePlaneFormat), ARRAY(auiWidth), ARRAY(auiWidthInBytes), ARRAY(auiHeight),
        ARRAY(auiPitch), ARRAY(auiPitchInBytes)};
};

template <> struct Fields<tagTBoard_FpgaInfo>
{
    using Record = tagTBoard_FpgaInfo;
    static constexpr SField TABLE[] = {
        NUMBER(uiSize), TEXT(szName), NUMBER(ui16DevID), NUMBER(ui16VendorID), NUMBER(uiI2cBusIndex), NUMBER(uiI2cAddress),
        NUMBER(uiVersionMajor), NUMBER(uiVersionMinor), NUMBER(uiVersionBuild)};
};

template <class T> constexpr SType TYPE = {EKind::Number};
template <> constexpr SType TYPE<TStatus>                   = {EKind::Status};
template <> constexpr SType TYPE<TDevice_Handle>            = {EKind::Handle, EHandle::Device};
template <> constexpr SType TYPE<TBuffer_Handle>            = {EKind::Handle, EHandle::Buffer};
template <> constexpr SType TYPE<TVideoOut_Handle>          = {EKind::Handle, EHandle::Output};
template <> constexpr SType TYPE<TBuffer_Handle*>           = {EKind::Handle, EHandle::Buffer, {}, sizeof(void*), true};
template <> constexpr SType TYPE<TVideoOut_Handle*>         = {EKind::Handle, EHandle::Output, {}, sizeof(void*), true};
template <> constexpr SType TYPE<KUINT32*>                  = {EKind::Number, {}, {}, sizeof(KUINT32), true};
template <> constexpr SType TYPE<KUINTPTR*>                 = {EKind::Planes, {}, {}, sizeof(KUINTPTR), true};
template <class T> constexpr SType TYPE<const T*>           = {EKind::Record, {}, Fields<T>::TABLE, sizeof(T)};
template <> constexpr SType TYPE<tagTBuffer_PlaneInfo*>     =
    {EKind::Record, {}, Fields<tagTBuffer_PlaneInfo>::TABLE, sizeof(tagTBuffer_PlaneInfo), true};
template <> constexpr SType TYPE<tagTBoard_FpgaInfo*>       =
    {EKind::Record, {}, Fields<tagTBoard_FpgaInfo>::TABLE, sizeof(tagTBoard_FpgaInfo), true};
// clang-format on

// Calls the operation of this type at an address.
template <class TFunction> struct Invocation;

template <class TResult, class... TParameters> struct Invocation<TResult (*)(TParameters...)>
{
    static KUINT64 Invoke(void* pAddress, const Words& roArguments)
    {
        return [&]<size_t... I>(std::index_sequence<I...>)
        {
            return ToWord(reinterpret_cast<TResult (*)(TParameters...)>(pAddress)(FromWord<TParameters>(roArguments[I])...));
        }
        (std::index_sequence_for<TParameters...>());
    }

    // svNames is "(first, second)".
    static constexpr SOperation MakeRow(std::string_view svName, std::string_view svNames)
    {
        SOperation oRow{svName, TYPE<TResult>, sizeof...(TParameters), {}, Invoke};
        size_t     ui = 0;
        ((oRow.aoParameters[ui++].oType = TYPE<TParameters>), ...);
        for (ui = 0; ui < sizeof...(TParameters); ++ui)
        {
            svNames.remove_prefix(ui == 0 ? 1 : 2);
            oRow.aoParameters[ui].svName = svNames.substr(0, svNames.find_first_of(",)"));
            svNames.remove_prefix(oRow.aoParameters[ui].svName.size());
        }
        return oRow;
    }
};

#define TABLE_ROW(Result, Name, Parameters, Arguments) Invocation<decltype(&::Name)>::MakeRow(#Name, #Arguments),
constexpr SOperation TABLE[] = {TAVRIN_OPERATION_TABLE(TABLE_ROW)};
}

constexpr std::span<const SOperation, OPERATION_COUNT> OPERATIONS = TABLE;

std::optional<size_t> SOperation::FindFilled() const
{
    const auto i = std::ranges::find_if(Parameters(), [](const SParameter& ro) { return ro.oType.bFilled; });
    return i != Parameters().end() ? std::optional(static_cast<size_t>(i - Parameters().begin())) : std::nullopt;
}
}
