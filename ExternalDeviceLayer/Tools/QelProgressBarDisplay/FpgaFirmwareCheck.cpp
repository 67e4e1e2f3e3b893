#include "FpgaFirmwareCheck.h"

#include <cstdio>

#include "QelMFCTypes.h"
#include "QelTools.h"
#include "XDevFpgaInfo.h"

namespace
{
constexpr KUINT32 FPGA_I2C_ADDRESS = 0xd0;
constexpr KUINT16 FPGA_VENDOR_ID   = 0xc3e7;

// A name that fills its field has no terminator.
CKString ToName(const TSTR64& rszName)
{
    KCHAR8 szName[sizeof(TSTR64) + 1] = {};
    QelTools_memcpy(szName, rszName, sizeof(TSTR64));
    return CKString(szName);
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
}

KBOOL32 IsFpgaFirmwareSupported(TDEVICE_OBJECT* hDev)
{
    KBOOL32 bSupported = FALSE;
    KUINT32 uiFpgaCnt  = 0;

    if (TBoard_GetFpgaCount(hDev, &uiFpgaCnt) < TStatus_OK)
        return FALSE;

    if (uiFpgaCnt == 0)
    {
        std::printf("No FPGA detected!\n");
        return FALSE;
    }

    for (KUINT32 uiFpgaIdx = 0; uiFpgaIdx < uiFpgaCnt; ++uiFpgaIdx)
    {
        tagTBoard_FpgaInfo oFpgaInfo = {};
        oFpgaInfo.uiSize             = sizeof(oFpgaInfo);
        if (TBoard_GetFpgaInfo(hDev, uiFpgaIdx, &oFpgaInfo) < TStatus_OK)
            return bSupported;

        if (oFpgaInfo.uiI2cAddress != FPGA_I2C_ADDRESS || oFpgaInfo.ui16VendorID != FPGA_VENDOR_ID)
            continue;

        // bSupported receives whether the version is known. So a version that is known as not supported ends the loop, and
        // the result is TRUE.
        if (!ToFpgaInfo(oFpgaInfo).IsSupported(bSupported))
            return bSupported;
    }
    return bSupported;
}
