#include "XDevFpgaNames.h"

#include "XDevFpgaInfo.h"

namespace
{
struct SDeviceName
{
    ESupportedFpgaDevId eDevice;
    const KCHAR8*       pszName;
};

// clang-format off
constexpr SDeviceName DEVICE_NAMES[] = {
    {E_FPGA_DEVID_PROTO1_DVO_OLD,      "PROTO1_DVO_OLD"},
    {E_FPGA_DEVID_PROTO1_DVO,          "PROTO1_DVO"},
    {E_FPGA_DEVID_PROTO1_FPGA_PORT,    "PROTO1_FPGA_PORT"},
    {E_FPGA_DEVID_VESKQUADHI_OLD,      "VESKQUADHI_OLD"},
    {E_FPGA_DEVID_VESKQUADHI_DEMO_OLD, "VESKQUADHI_DEMO_OLD"},
    {E_FPGA_DEVID_VESKQUADHI_FULL,     "VESKQUADHI_FULL"},
    {E_FPGA_DEVID_VESKQUADHI_DEMO,     "VESKQUADHI_DEMO"},
    {E_FPGA_DEVID_VESKQUADDO_FULL,     "VESKQUADDO_FULL"},
    {E_FPGA_DEVID_VESKQUADDO_DEMO,     "VESKQUADDO_DEMO"},
    {E_FPGA_DEVID_TARN_IN,             "TARN_IN"},
    {E_FPGA_DEVID_TARN_OUT,            "TARN_OUT"},
    {E_FPGA_DEVID_OPAL_UHD,            "OPAL_UHD"},
    {E_FPGA_DEVID_SORREL1,             "SORREL1"},
    {E_FPGA_DEVID_IP_KVM_IN_F0,        "IP_KVM_IN_F0"},
    {E_FPGA_DEVID_IP_KVM_IN_F1,        "IP_KVM_IN_F1"},
    {E_FPGA_DEVID_IP_KVM_OUT_F0,       "IP_KVM_OUT_F0"},
    {E_FPGA_DEVID_IP_KVM_OUT_F1,       "IP_KVM_OUT_F1"},
    {E_FPGA_DEVID_TARN_IN_DP12,        "TARN_IN_DP12"},
    {E_FPGA_DEVID_HERON,               "HERON"},
    {E_FPGA_DEVID_SORREL1_DEC,         "SORREL1_DEC"},
    {E_FPGA_DEVID_TARN_SDI,            "TARN_SDI"},
    {E_FPGA_DEVID_SORREL2_ENC,         "SORREL2_ENC"},
};
// clang-format on
}

const KCHAR8* FindFpgaDeviceName(KUINT32 uiFpgaDevId)
{
    for (const SDeviceName& roName : DEVICE_NAMES)
    {
        if (roName.eDevice == uiFpgaDevId)
            return roName.pszName;
    }
    return nullptr;
}
