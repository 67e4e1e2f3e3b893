// What a firmware can do, by device and version.
#include "XDevFpgaInfo.h"

#include <algorithm>
#include <span>

namespace
{
constexpr KUINT64 ALWAYS = 0;
constexpr KUINT64 NEVER  = 0x100000000;  // above every 32-bit version
constexpr KUINT64 NONE   = NEVER;

// A rule is true for the versions of a device from uiFrom on, except those in auiExceptions.
struct SRule
{
    ESupportedFpgaDevId eDevice;
    KUINT64             uiFrom;
    KUINT64             auiExceptions[2] = {NONE, NONE};
};

// clang-format off
// Whether the build number of a version counts. It counts for a device without a row. It must also count for the port of the
// first prototype with a DVO version. Its row covers them, because all DVO versions are above its threshold.
constexpr SRule BUILD_REQUIRED[] = {
    {E_FPGA_DEVID_PROTO1_FPGA_PORT,    E_FPGA_PROTO1_00_003_002},
    {E_FPGA_DEVID_VESKQUADHI_OLD,      E_FPGA_QUADHI_01_003_078},
    {E_FPGA_DEVID_VESKQUADHI_DEMO_OLD, E_FPGA_QUADHI_01_003_078},
    {E_FPGA_DEVID_VESKQUADHI_FULL,     E_FPGA_QUADHI_01_003_078},
    {E_FPGA_DEVID_VESKQUADHI_DEMO,     E_FPGA_QUADHI_01_003_078},
    {E_FPGA_DEVID_VESKQUADDO_FULL,     E_FPGA_QUADDO_00_006_042},
    {E_FPGA_DEVID_VESKQUADDO_DEMO,     E_FPGA_QUADDO_00_006_042},
    {E_FPGA_DEVID_TARN_IN,             E_FPGA_TARNIN_01_18_006},
    {E_FPGA_DEVID_TARN_OUT,            E_FPGA_TARNOUT_02_03_048},
    {E_FPGA_DEVID_SORREL1,             E_FPGA_SORREL1_00_01_003},
    {E_FPGA_DEVID_TARN_IN_DP12,        NEVER},
    {E_FPGA_DEVID_IP_KVM_IN_F0,        NEVER},
    {E_FPGA_DEVID_IP_KVM_IN_F1,        NEVER},
    {E_FPGA_DEVID_IP_KVM_OUT_F0,       NEVER},
    {E_FPGA_DEVID_IP_KVM_OUT_F1,       NEVER},
    {E_FPGA_DEVID_HERON,               NEVER},
    {E_FPGA_DEVID_SORREL1_DEC,         NEVER},
};

// The rules below are false for a device without a row.
constexpr SRule GEN_LOCK[] = {
    {E_FPGA_DEVID_TARN_OUT,        E_FPGA_TARNOUT_01_01_115, {E_FPGA_TARNOUT_01_01_159, NONE}},
    {E_FPGA_DEVID_VESKQUADDO_FULL, E_FPGA_QUADDO_00_003_077, {E_FPGA_QUADDO_00_003_190, E_FPGA_QUADDO_00_003_219}},
    {E_FPGA_DEVID_VESKQUADDO_DEMO, E_FPGA_QUADDO_00_003_077, {E_FPGA_QUADDO_00_003_190, E_FPGA_QUADDO_00_003_219}},
};

constexpr SRule FRAME_LOCK[] = {
    {E_FPGA_DEVID_TARN_OUT,     E_FPGA_TARNOUT_02_07_016},
    {E_FPGA_DEVID_TARN_IN,      E_FPGA_TARNIN_01_25_099},
    {E_FPGA_DEVID_TARN_SDI,     E_FPGA_TARNSDI_00_05_000},
    {E_FPGA_DEVID_TARN_IN_DP12, E_FPGA_TARNIN_DP_00_11_021},
    {E_FPGA_DEVID_SORREL1_DEC,  ALWAYS},
};

constexpr SRule LVDS_JEIDA[] = {
    {E_FPGA_DEVID_SORREL2_ENC, E_FPGA_SORREL2ENC_00_05_001},
};

constexpr SRule CABLE_LOCK_DRIVE_VALUE[] = {
    {E_FPGA_DEVID_TARN_SDI, E_FPGA_TARNSDI_01_01_001},
};

constexpr SRule HDCP[] = {
    {E_FPGA_DEVID_PROTO1_FPGA_PORT,    ALWAYS},
    {E_FPGA_DEVID_VESKQUADHI_OLD,      ALWAYS},
    {E_FPGA_DEVID_VESKQUADHI_DEMO_OLD, ALWAYS},
    {E_FPGA_DEVID_VESKQUADHI_FULL,     ALWAYS},
    {E_FPGA_DEVID_VESKQUADHI_DEMO,     ALWAYS},
    {E_FPGA_DEVID_VESKQUADDO_FULL,     ALWAYS},
    {E_FPGA_DEVID_VESKQUADDO_DEMO,     ALWAYS},
    {E_FPGA_DEVID_TARN_IN,             ALWAYS},
    {E_FPGA_DEVID_SORREL1,             E_FPGA_SORREL1_01_06_043},
    {E_FPGA_DEVID_SORREL1_DEC,         ALWAYS},
    {E_FPGA_DEVID_SORREL2_ENC,         ALWAYS},
};
// clang-format on

bool Holds(std::span<const SRule> aoRules, KUINT32 uiFpgaDevId, KUINT32 uiFpgaVersion, bool bWithoutRow = false)
{
    for (const SRule& roRule : aoRules)
    {
        if (roRule.eDevice == uiFpgaDevId)
            return uiFpgaVersion >= roRule.uiFrom && std::ranges::count(roRule.auiExceptions, uiFpgaVersion) == 0;
    }
    return bWithoutRow;
}

// Versions that identify the DVO of the first prototype, whatever the device id.
constexpr ESupportedFpgaVersion PROTO1_DVO_VERSIONS[] = {
    E_FPGA_PROTO1_DVO_01_009_061,
    E_FPGA_PROTO1_DVO_01_007_173,
    E_FPGA_PROTO1_DVO_01_005_167,
    E_FPGA_PROTO1_DVO_01_005_041,
};

constexpr KUINT32 WIDE_PORT_BANDWIDTH = 1572864000;
constexpr KUINT32 PORT_BANDWIDTH      = 1101004800;
}

KBOOL32 XDevFpgaInfo::IsBuildRequired() const
{
    return Holds(BUILD_REQUIRED, m_uiFpgaDevId, m_uiFpgaVersion, true);
}

KBOOL32 XDevFpgaInfo::IsProto1Dvo() const
{
    return std::ranges::count(PROTO1_DVO_VERSIONS, m_uiFpgaVersion) != 0 || IsProto1Dvo(m_uiFpgaDevId);
}

KBOOL32 XDevFpgaInfo::IsProto1Dvo(KUINT32 uiFpgaDevId)
{
    return uiFpgaDevId == E_FPGA_DEVID_PROTO1_DVO || uiFpgaDevId == E_FPGA_DEVID_PROTO1_DVO_OLD;
}

KBOOL32 XDevFpgaInfo::IsQuadHdmiIn(KUINT32 uiFpgaDevId)
{
    return uiFpgaDevId == E_FPGA_DEVID_VESKQUADHI_OLD || uiFpgaDevId == E_FPGA_DEVID_VESKQUADHI_DEMO_OLD ||
           uiFpgaDevId == E_FPGA_DEVID_VESKQUADHI_FULL || uiFpgaDevId == E_FPGA_DEVID_VESKQUADHI_DEMO;
}

KBOOL32 XDevFpgaInfo::IsQuadDPOut(KUINT32 uiFpgaDevId)
{
    return uiFpgaDevId == E_FPGA_DEVID_VESKQUADDO_FULL || uiFpgaDevId == E_FPGA_DEVID_VESKQUADDO_DEMO;
}

KBOOL32 XDevFpgaInfo::IsOldBrgModel() const
{
    return (IsQuadHdmiIn() && m_uiFpgaVersion < E_FPGA_QUADHI_01_000_027) ||
           (IsProto1Dvo() && m_uiFpgaVersion < E_FPGA_PROTO1_DVO_02_000_107);
}

KBOOL32 XDevFpgaInfo::IsGenLockSupported() const
{
    return Holds(GEN_LOCK, m_uiFpgaDevId, m_uiFpgaVersion);
}

KBOOL32 XDevFpgaInfo::IsFrameLockSupported() const
{
    return Holds(FRAME_LOCK, m_uiFpgaDevId, m_uiFpgaVersion);
}

KBOOL32 XDevFpgaInfo::IsLvdsJeidaSupported() const
{
    return Holds(LVDS_JEIDA, m_uiFpgaDevId, m_uiFpgaVersion);
}

KBOOL32 XDevFpgaInfo::IsCableLockDriveValueSupported(int iValue) const
{
    if (!IsTarnSdi())
        return iValue;
    return iValue == 0 || Holds(CABLE_LOCK_DRIVE_VALUE, m_uiFpgaDevId, m_uiFpgaVersion);
}

KBOOL32 XDevFpgaInfo::GetHdcpSupport() const
{
    return IsProto1Dvo() || Holds(HDCP, m_uiFpgaDevId, m_uiFpgaVersion);
}

KUINT32 XDevFpgaInfo::GetPortBandwidth() const
{
    return IsProto1() || IsQuadHdmiIn() || IsQuadDPOut() ? WIDE_PORT_BANDWIDTH : PORT_BANDWIDTH;
}
