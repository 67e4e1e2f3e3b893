#include "FpgaReport.h"

#include "FpgaFirmwareCheck.h"
#include "XDevFpgaNames.h"

namespace BoardCheck
{
namespace
{
struct SAnswer
{
    const char* pszName;
    KBOOL32 (XDevFpgaInfo::*pfnAnswer)() const;
};

// clang-format off
#define ANSWER(NAME) {#NAME, &XDevFpgaInfo::NAME}
constexpr SAnswer ANSWERS[] = {
    ANSWER(IsBuildRequired),
    ANSWER(IsProto1),
    ANSWER(IsProto1Dvo),
    ANSWER(IsProto1FpgaPort),
    ANSWER(IsQuadHdmiIn),
    ANSWER(IsQuadDPOut),
    ANSWER(IsTarnIn),
    ANSWER(IsTarnInDp12),
    ANSWER(IsTarnOut),
    ANSWER(IsTarnSdi),
    ANSWER(IsOpalUHD),
    ANSWER(IsSorrel1),
    ANSWER(IsSorrel1Dec),
    ANSWER(IsSorrel2Enc),
    ANSWER(IsIpKvmInF0),
    ANSWER(IsIpKvmInF1),
    ANSWER(IsIpKvmOutF0),
    ANSWER(IsIpKvmOutF1),
    ANSWER(IsHeron),
    ANSWER(IsOldBrgModel),
    ANSWER(IsSubFieldModeSupported),
    ANSWER(IsInterruptStatusSupported),
    ANSWER(IsGenLockSupported),
    ANSWER(IsFrameLockSupported),
    ANSWER(IsLvdsJeidaSupported),
    ANSWER(IsMultiBoardsSyncSupported),
    ANSWER(GetHdcpSupport),
};
#undef ANSWER
// clang-format on

Json DescribeCapabilities(const XDevFpgaInfo& roFpga)
{
    Json oCan;
    for (const SAnswer& roAnswer : ANSWERS)
        oCan[roAnswer.pszName] = (roFpga.*roAnswer.pfnAnswer)() != FALSE;
    oCan["IsCableLockDriveValueSupported(0)"] = roFpga.IsCableLockDriveValueSupported(0) != FALSE;
    oCan["IsCableLockDriveValueSupported(1)"] = roFpga.IsCableLockDriveValueSupported(1) != FALSE;
    oCan["GetPortBandwidth"]                  = roFpga.GetPortBandwidth();
    oCan["GetPortFifoSize"]                   = roFpga.GetPortFifoSize();

    XDevFpgaInfo::AddressArray aui16Addresses;
    const KUINT32              uiReturned = roFpga.GetHdcpKeyAddress(aui16Addresses);
    oCan["GetHdcpKeyAddress"] = {{"addresses", Json(std::vector<KUINT16>(aui16Addresses.Begin(), aui16Addresses.End()))},
                                 {"returned", uiReturned}};
    return oCan;
}
}

Json DescribeFpga(const tagTBoard_FpgaInfo& roInfo)
{
    const XDevFpgaInfo  oFpga    = ToFpgaInfo(roInfo);
    const KCHAR8* const pszName  = FindFpgaDeviceName(oFpga.m_uiFpgaDevId);
    KBOOL32             bKnown   = FALSE;
    const bool          bSupport = oFpga.IsSupported(bKnown) != FALSE;
    return {{"name", oFpga.GetName().c_str()},
            {"size", roInfo.uiSize},
            {"device_code", roInfo.ui16DevID},
            {"vendor", roInfo.ui16VendorID},
            {"bus", roInfo.uiI2cBusIndex},
            {"address", roInfo.uiI2cAddress},
            {"major", roInfo.uiVersionMajor},
            {"minor", roInfo.uiVersionMinor},
            {"build", roInfo.uiVersionBuild},
            {"version", oFpga.GetVersionStr().c_str()},
            {"device_name", pszName != nullptr ? Json(pszName) : Json()},
            {"known", bKnown != FALSE},
            {"supported", bSupport},
            {"capabilities", DescribeCapabilities(oFpga)}};
}

std::string NameFirmware(const tagTBoard_FpgaInfo& roInfo)
{
    const XDevFpgaInfo  oFpga   = ToFpgaInfo(roInfo);
    const KCHAR8* const pszName = FindFpgaDeviceName(oFpga.m_uiFpgaDevId);
    CKString            strText;
    if (pszName != nullptr)
        strText.Format("%s %s", pszName, oFpga.GetVersionStr().c_str());
    else
        strText.Format("device %08x %s", oFpga.m_uiFpgaDevId, oFpga.GetVersionStr().c_str());
    return strText.c_str();
}
}
