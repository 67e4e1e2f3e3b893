#include "XDevFpgaInfo.h"

#include <algorithm>
#include <span>

#include "OsServices.h"
#include "QelTools.h"

KBOOL32 XDevFpgaInfo::m_sbForceFpgaSupport = FALSE;

namespace
{
constexpr KUINT32 MAJOR_AND_MINOR = 0xffff00;

CKString ToVersionText(KUINT32 uiVersion)
{
    CKString strText;
    strText.Format("%03d-%03d-%03d", XDevFpgaInfo::GetFpgaMajor(uiVersion), XDevFpgaInfo::GetFpgaMinor(uiVersion),
                   XDevFpgaInfo::GetFpgaBuild(uiVersion));
    return strText;
}

// The addresses of the HDCP keys of a device, in their order.
constexpr unsigned short ONE_KEY[]  = {0x170};
constexpr unsigned short TWO_KEYS[] = {0x170, 0x170};
constexpr unsigned short SIX_KEYS[] = {0x170, 0x170, 0x170, 0x170, 0x30, 0x30};

struct SHdcpKeyRow
{
    ESupportedFpgaDevId             eDevice;
    KUINT32                         uiReturned;
    std::span<const unsigned short> aui16Addresses;
};

constexpr SHdcpKeyRow HDCP_KEYS[] = {
    {E_FPGA_DEVID_IP_KVM_IN_F0, 0x7ff000, ONE_KEY},
    {E_FPGA_DEVID_IP_KVM_OUT_F0, 0x7ff000, ONE_KEY},
    {E_FPGA_DEVID_TARN_IN_DP12, 0x7ff000, TWO_KEYS},
    {E_FPGA_DEVID_SORREL1_DEC, 0xff0000, SIX_KEYS},
};
}

XDevFpgaInfo::XDevFpgaInfo() : XDevFpgaInfo(0, 0, 0, FALSE, 0, 0, CKString()) {}

XDevFpgaInfo::XDevFpgaInfo(KUINT32 uiFpgaDevId, KUINT32 uiFpgaVersion, KUINT32 uiBridgeVersion,
                           KBOOL32 bIsTimeConversionSupported, KUINT32 uiBusIndex, KUINT32 uiI2cAddress,
                           const CKString& rszName)
    : m_uiFpgaDevId(uiFpgaDevId), m_uiFpgaVersion(uiFpgaVersion), m_uiBridgeVersion(uiBridgeVersion),
      m_uiBusIndex(uiBusIndex), m_uiI2cAddress(uiI2cAddress), m_bIsTimeConversionSupported(bIsTimeConversionSupported),
      m_szName(rszName)
{
    BuildFpgaVersion();
}

XDevFpgaInfo::~XDevFpgaInfo() = default;

KBOOL32 XDevFpgaInfo::IsSupported(KBOOL32& rbIsKnown) const
{
    // Any firmware of this device may be driven, whatever the registry says.
    if (IsHeron())
    {
        rbIsKnown = TRUE;
        return TRUE;
    }

    const KUINT32 uiCompared = IsBuildRequired() ? ~KUINT32{0} : MAJOR_AND_MINOR;
    const auto*   poFirst    = m_daoFpgaVersionData.Begin();
    const auto*   poEnd      = m_daoFpgaVersionData.End();
    const auto*   poMatch    = std::find_if(poFirst, poEnd, [this, uiCompared](const SFpgaVersionData& roData) {
        return ((roData.uiFpgaVersion ^ m_uiFpgaVersion) & uiCompared) == 0;
    });

    // For this device, a firmware that is not in the registry is trusted.
    KBOOL32 bIsSupported = IsOpalUHD();
    rbIsKnown            = IsOpalUHD();
    if (poMatch != poEnd)
    {
        bIsSupported = poMatch->bIsSupported;
        rbIsKnown    = poMatch->bIsKnown;
    }

    if (m_sbForceFpgaSupport && !bIsSupported)
    {
        OsServices::WriteUserMsg(
            "The FPGA version %s (Bridge %s) is not known, but the configuration has been set to allow it.\n",
            GetVersionStr().c_str(), GetBridgeVersionStr().c_str());
        bIsSupported = TRUE;
    }
    return bIsSupported;
}

CKString XDevFpgaInfo::GetVersionStr() const
{
    return ToVersionText(m_uiFpgaVersion);
}

CKString XDevFpgaInfo::GetBridgeVersionStr() const
{
    return ToVersionText(m_uiBridgeVersion);
}

TStatus XDevFpgaInfo::GetFpgaBoardInfo(tagTBoard_FpgaInfo& roFpgaInfo) const
{
    if (roFpgaInfo.uiSize > sizeof(tagTBoard_FpgaInfo))
        return TStatus_INVALID_PARAM;

    constexpr KUINT32 uiNameSize = sizeof(roFpgaInfo.szName);
    QelTools_memcpy(roFpgaInfo.szName, m_szName.c_str(), std::min(m_szName.GetLengthU(), uiNameSize));
    roFpgaInfo.ui16DevID      = GetFpgaDeviceId();
    roFpgaInfo.ui16VendorID   = GetFpgaVendorId();
    roFpgaInfo.uiI2cBusIndex  = m_uiBusIndex;
    roFpgaInfo.uiI2cAddress   = m_uiI2cAddress;
    roFpgaInfo.uiVersionMajor = GetFpgaMajor();
    roFpgaInfo.uiVersionMinor = GetFpgaMinor();
    roFpgaInfo.uiVersionBuild = GetFpgaBuild();
    return TStatus_OK;
}

KUINT32 XDevFpgaInfo::GetHdcpKeyAddress(AddressArray& raui16Address) const
{
    return GetHdcpKeyAddress(m_uiFpgaDevId, raui16Address);
}

KUINT32 XDevFpgaInfo::GetHdcpKeyAddress(KUINT32 uiFpgaDevId, AddressArray& raui16Address)
{
    raui16Address.SetSize(0);
    for (const SHdcpKeyRow& roRow : HDCP_KEYS)
    {
        if (roRow.eDevice != uiFpgaDevId)
            continue;
        for (const unsigned short& rui16Address : roRow.aui16Addresses)
            raui16Address.Add(rui16Address);
        return roRow.uiReturned;
    }
    return 0;
}
