// The operations of Tavrin.h on devices, registers and FPGAs.
#include "Client.h"

using namespace SoftwareBoard;
using namespace SoftwareBoard::Library;

KUINT32 Tavrin_GetDeviceCount(void)
{
    return Guarded(KUINT32{0}, [](Client& roClient) { return roClient.OpenBoard().m_oState.GetDeviceCount(); });
}

TDevice_Handle Tavrin_GetDevice(KUINT32 uiDevIndex)
{
    return Guarded(TDevice_Handle{}, [&](Client& roClient) -> TDevice_Handle {
        // Throws if there is no such device or if its record is damaged: then there is no handle for it.
        roClient.OpenBoard().m_oState.ReadDevice(uiDevIndex);
        return roClient.DeviceAt(uiDevIndex);
    });
}

TStatus TBoard_RegWrite(TDevice_Handle hDev, KUINT32 uiRegister, KUINT32 uiValue)
{
    return Guarded(TStatus_FAIL, [&](Client& roClient) {
        const auto ouiDevice = roClient.FindDevice(hDev);
        if (!ouiDevice || uiRegister >= REGISTER_COUNT)
            return TStatus_INVALID_PARAM;
        roClient.OpenBoard().m_oState.WriteRegister(*ouiDevice, uiRegister, uiValue);
        return TStatus_OK;
    });
}

TStatus TBoard_RegRead(TDevice_Handle hDev, KUINT32 uiRegister, KUINT32* puiValue)
{
    return Guarded(TStatus_FAIL, [&](Client& roClient) {
        const auto ouiDevice = roClient.FindDevice(hDev);
        if (!ouiDevice || uiRegister >= REGISTER_COUNT || puiValue == nullptr)
            return TStatus_INVALID_PARAM;
        *puiValue = roClient.OpenBoard().m_oState.ReadRegister(*ouiDevice, uiRegister);
        return TStatus_OK;
    });
}

TStatus TBoard_GetFpgaCount(TDevice_Handle hDev, KUINT32* puiCount)
{
    return Guarded(TStatus_FAIL, [&](Client& roClient) {
        const auto ouiDevice = roClient.FindDevice(hDev);
        if (!ouiDevice || puiCount == nullptr)
            return TStatus_INVALID_PARAM;
        *puiCount = roClient.OpenBoard().m_oState.ReadDevice(*ouiDevice).uiFpgaCount;
        return TStatus_OK;
    });
}

TStatus TBoard_GetFpgaInfo(TDevice_Handle hDev, KUINT32 uiIndex, tagTBoard_FpgaInfo* poFpgaInfo)
{
    return Guarded(TStatus_FAIL, [&](Client& roClient) {
        const auto ouiDevice = roClient.FindDevice(hDev);
        if (!ouiDevice || poFpgaInfo == nullptr || poFpgaInfo->uiSize != sizeof(*poFpgaInfo))
            return TStatus_INVALID_PARAM;
        const SDeviceRecord oDevice = roClient.OpenBoard().m_oState.ReadDevice(*ouiDevice);
        if (uiIndex >= oDevice.uiFpgaCount)
            return TStatus_INVALID_PARAM;
        *poFpgaInfo = oDevice.aoFpgas[uiIndex];
        return TStatus_OK;
    });
}
