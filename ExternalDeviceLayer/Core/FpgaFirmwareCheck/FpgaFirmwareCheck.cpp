#include "FpgaFirmwareCheck.h"

#include <cstdio>

#include "QelMFCTypes.h"
#include "QelTools.h"

namespace
{
// A name that fills its field has no terminator.
CKString ToName(const TSTR64& rszName)
{
    KCHAR8 szName[sizeof(TSTR64) + 1] = {};
    QelTools_memcpy(szName, rszName, sizeof(TSTR64));
    return CKString(szName);
}
}

XDevFpgaInfo ToFpgaInfo(const tagTBoard_FpgaInfo& roInfo)
{
    const KUINT32 uiFpgaDevId = KUINT32{roInfo.ui16VendorID} << 16 | roInfo.ui16DevID;

    // A packed version has 8 bits for the build number. Higher bits are dropped.
    const KUINT32 uiFpgaVersion =
        KUINT32{roInfo.uiVersionMajor} << 16 | KUINT32{roInfo.uiVersionMinor} << 8 | (roInfo.uiVersionBuild & 0xffu);

    return XDevFpgaInfo(uiFpgaDevId, uiFpgaVersion, 0, FALSE, roInfo.uiI2cBusIndex, roInfo.uiI2cAddress,
                        ToName(roInfo.szName));
}

SFirmwareFinding ExamineFpgaFirmware(TDEVICE_OBJECT* hDev)
{
    KUINT32       uiFpgaCnt    = 0;
    const TStatus eCountStatus = TBoard_GetFpgaCount(hDev, &uiFpgaCnt);
    if (eCountStatus < TStatus_OK)
        return {.eFinding = EFirmwareFinding::NoFpgaCount, .eStatus = eCountStatus};
    if (uiFpgaCnt == 0)
        return {.eFinding = EFirmwareFinding::NoFpga};

    SFirmwareFinding oFinding = {.eFinding = EFirmwareFinding::NoneExamined};
    for (KUINT32 uiFpgaIdx = 0; uiFpgaIdx < uiFpgaCnt; ++uiFpgaIdx)
    {
        tagTBoard_FpgaInfo oFpgaInfo = {};
        oFpgaInfo.uiSize             = sizeof(oFpgaInfo);
        const TStatus eStatus        = TBoard_GetFpgaInfo(hDev, uiFpgaIdx, &oFpgaInfo);
        if (eStatus < TStatus_OK)
        {
            // What the FPGAs before it decided stands.
            if (oFinding.eFinding == EFirmwareFinding::NoneExamined)
                return {EFirmwareFinding::NoFpgaInfo, uiFpgaIdx, eStatus};
            return oFinding;
        }

        if (oFpgaInfo.uiI2cAddress != EXAMINED_FPGA_I2C_ADDRESS || oFpgaInfo.ui16VendorID != EXAMINED_FPGA_VENDOR_ID)
            continue;

        // Whether the version is known decides. So a version that is known as not supported ends the loop, and the firmware
        // may be driven.
        KBOOL32       bKnown     = FALSE;
        const KBOOL32 bSupported = ToFpgaInfo(oFpgaInfo).IsSupported(bKnown);

        oFinding = {bKnown ? EFirmwareFinding::Supported : EFirmwareFinding::NotKnown, uiFpgaIdx, eStatus, oFpgaInfo};
        if (!bSupported)
            return oFinding;
    }
    return oFinding;
}

KBOOL32 IsFpgaFirmwareSupported(TDEVICE_OBJECT* hDev)
{
    const EFirmwareFinding eFinding = ExamineFpgaFirmware(hDev).eFinding;
    if (eFinding == EFirmwareFinding::NoFpga)
        std::printf("No FPGA detected!\n");
    return eFinding == EFirmwareFinding::Supported;
}
