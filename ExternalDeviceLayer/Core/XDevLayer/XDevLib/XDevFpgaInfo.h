// One FPGA of a board: what it is, which firmware it runs, what that firmware can do and whether it may be driven.
#ifndef X_DEV_FPGA_INFO_H
#define X_DEV_FPGA_INFO_H

#include "QelMFCTypes.h"
#include "QelTypes.h"
#include "Tavrin.h"
#include "XDevFpgaVersions.h"

// Device ids: the vendor id in the upper 16 bits, the device code in the lower 16 bits.
enum ESupportedFpgaDevId : KUINT32
{
    E_FPGA_DEVID_PROTO1_DVO_OLD      = 0xc3e70c00,
    E_FPGA_DEVID_PROTO1_DVO          = 0xc3e70002,
    E_FPGA_DEVID_PROTO1_FPGA_PORT    = 0xc3e70008,
    E_FPGA_DEVID_VESKQUADHI_OLD      = 0xc3e70c10,
    E_FPGA_DEVID_VESKQUADHI_DEMO_OLD = 0xc3e70000,
    E_FPGA_DEVID_VESKQUADHI_FULL     = 0xc3e70006,
    E_FPGA_DEVID_VESKQUADHI_DEMO     = 0xc3e70001,
    E_FPGA_DEVID_VESKQUADDO_FULL     = 0xc3e70007,
    E_FPGA_DEVID_VESKQUADDO_DEMO     = 0xc3e70004,
    E_FPGA_DEVID_TARN_IN             = 0xc3e70003,
    E_FPGA_DEVID_TARN_OUT            = 0xc3e70005,
    E_FPGA_DEVID_OPAL_UHD            = 0xc3e74000,
    E_FPGA_DEVID_SORREL1             = 0xc3e70009,
    E_FPGA_DEVID_IP_KVM_IN_F0        = 0xc3e7000a,
    E_FPGA_DEVID_IP_KVM_IN_F1        = 0xc3e7000b,
    E_FPGA_DEVID_IP_KVM_OUT_F0       = 0xc3e7000c,
    E_FPGA_DEVID_IP_KVM_OUT_F1       = 0xc3e7000d,
    E_FPGA_DEVID_TARN_IN_DP12        = 0xc3e7000e,
    E_FPGA_DEVID_HERON               = 0xc3e7000f,
    E_FPGA_DEVID_SORREL1_DEC         = 0xc3e70010,
    E_FPGA_DEVID_TARN_SDI            = 0xc3e70011,
    E_FPGA_DEVID_SORREL2_ENC         = 0xc3e70012,
};

// Packed versions of the bridge between an FPGA and its board.
enum EBridgeVersion : KUINT32
{
    E_BRIDGE_VER_02_007_000 = 0x20700,
    E_BRIDGE_VER_02_006_000 = 0x20600,
    E_BRIDGE_VER_02_005_009 = 0x20509,
    E_BRIDGE_VER_02_005_008 = 0x20508,
    E_BRIDGE_VER_02_005_007 = 0x20507,
    E_BRIDGE_VER_02_005_006 = 0x20506,
    E_BRIDGE_VER_02_005_002 = 0x20502,
    E_BRIDGE_VER_02_005_000 = 0x20500,
    E_BRIDGE_VER_02_002_001 = 0x20201,
    E_BRIDGE_VER_02_002_000 = 0x20200,
    E_BRIDGE_VER_02_000_000 = 0x20000,
    E_BRIDGE_VER_01_000_000 = 0x10000,
    E_BRIDGE_VER_OLD        = 0,
};

// An FPGA of a board, with the registry of the firmware versions that are known for its device id. The constructors build
// the registry.
// clang-format off
class XDevFpgaInfo
{
public:
    struct SFpgaVersionData
    {
        KUINT32 uiFpgaVersion;  // packed
        KBOOL32 bIsSupported;   // it may be driven
        KBOOL32 bIsKnown;
    };
    using FpgaVersionArray = CKArray<SFpgaVersionData, const SFpgaVersionData&>;
    using AddressArray     = CKArray<unsigned short, const unsigned short&>;

    XDevFpgaInfo();
    XDevFpgaInfo(KUINT32 uiFpgaDevId, KUINT32 uiFpgaVersion, KUINT32 uiBridgeVersion,
                 KBOOL32 bIsTimeConversionSupported, KUINT32 uiBusIndex, KUINT32 uiI2cAddress, const CKString& rszName);
    virtual ~XDevFpgaInfo();

    XDevFpgaInfo(const XDevFpgaInfo&)            = default;
    XDevFpgaInfo& operator=(const XDevFpgaInfo&) = default;

    // Returns whether the firmware may be driven, and sets rbIsKnown to whether it is known.
    KBOOL32 IsSupported(KBOOL32& rbIsKnown) const;
    KBOOL32 IsBuildRequired() const;  // TRUE: versions match only with equal build numbers

    // Return a version as text, such as "001-005-013".
    CKString GetVersionStr() const;
    CKString GetBridgeVersionStr() const;

    KUINT32  GetVersion() const                { return m_uiFpgaVersion; }
    KUINT32  GetBridgeVersion() const          { return m_uiBridgeVersion; }
    KUINT32  GetBusIndex() const               { return m_uiBusIndex; }
    KUINT32  GetI2cAddress() const             { return m_uiI2cAddress; }
    CKString GetName() const                   { return m_szName; }
    KBOOL32  IsTimeConversionSupported() const { return m_bIsTimeConversionSupported; }

    const FpgaVersionArray& GetFpgaVersionData() const { return m_daoFpgaVersionData; }

    // The parts of a device id and of a version.
    KUINT16 GetFpgaDeviceId() const { return GetFpgaDeviceId(m_uiFpgaDevId); }
    KUINT16 GetFpgaVendorId() const { return GetFpgaVendorId(m_uiFpgaDevId); }
    KUINT8  GetFpgaMajor() const    { return GetFpgaMajor(m_uiFpgaVersion); }
    KUINT8  GetFpgaMinor() const    { return GetFpgaMinor(m_uiFpgaVersion); }
    KUINT8  GetFpgaBuild() const    { return GetFpgaBuild(m_uiFpgaVersion); }

    static KUINT16 GetFpgaDeviceId(KUINT32 uiFpgaDevId) { return static_cast<KUINT16>(uiFpgaDevId & 0xffff); }
    static KUINT16 GetFpgaVendorId(KUINT32 uiFpgaDevId) { return static_cast<KUINT16>(uiFpgaDevId >> 16); }
    static KUINT8  GetFpgaMajor(KUINT32 uiVersion)      { return static_cast<KUINT8>((uiVersion >> 16) & 0xff); }
    static KUINT8  GetFpgaMinor(KUINT32 uiVersion)      { return static_cast<KUINT8>((uiVersion >> 8) & 0xff); }
    static KUINT8  GetFpgaBuild(KUINT32 uiVersion)      { return static_cast<KUINT8>(uiVersion & 0xff); }

    // Fills the record, except uiSize. Copies the name without a terminator. If uiSize exceeds the size of the record,
    // returns TStatus_INVALID_PARAM and changes nothing.
    TStatus GetFpgaBoardInfo(tagTBoard_FpgaInfo& roFpgaInfo) const;

    // Replaces the contents of the array with the addresses of the device's HDCP keys. Returns a second value of the device,
    // or 0 if it has no keys.
    KUINT32        GetHdcpKeyAddress(AddressArray& raui16Address) const;
    static KUINT32 GetHdcpKeyAddress(KUINT32 uiFpgaDevId, AddressArray& raui16Address);

    // Which device it is.
    KBOOL32 IsProto1FpgaPort() const { return IsProto1FpgaPort(m_uiFpgaDevId); }
    KBOOL32 IsTarnIn() const         { return IsTarnIn(m_uiFpgaDevId); }
    KBOOL32 IsTarnInDp12() const     { return IsTarnInDp12(m_uiFpgaDevId); }
    KBOOL32 IsTarnOut() const        { return IsTarnOut(m_uiFpgaDevId); }
    KBOOL32 IsTarnSdi() const        { return IsTarnSdi(m_uiFpgaDevId); }
    KBOOL32 IsOpalUHD() const        { return IsOpalUHD(m_uiFpgaDevId); }
    KBOOL32 IsSorrel1() const        { return IsSorrel1(m_uiFpgaDevId); }
    KBOOL32 IsSorrel1Dec() const     { return IsSorrel1Dec(m_uiFpgaDevId); }
    KBOOL32 IsSorrel2Enc() const     { return IsSorrel2Enc(m_uiFpgaDevId); }
    KBOOL32 IsIpKvmInF0() const      { return IsIpKvmInF0(m_uiFpgaDevId); }
    KBOOL32 IsIpKvmInF1() const      { return IsIpKvmInF1(m_uiFpgaDevId); }
    KBOOL32 IsIpKvmOutF0() const     { return IsIpKvmOutF0(m_uiFpgaDevId); }
    KBOOL32 IsIpKvmOutF1() const     { return IsIpKvmOutF1(m_uiFpgaDevId); }
    KBOOL32 IsHeron() const          { return IsHeron(m_uiFpgaDevId); }
    KBOOL32 IsQuadHdmiIn() const     { return IsQuadHdmiIn(m_uiFpgaDevId); }
    KBOOL32 IsQuadDPOut() const      { return IsQuadDPOut(m_uiFpgaDevId); }
    KBOOL32 IsProto1() const         { return IsProto1Dvo() || IsProto1FpgaPort(); }
    KBOOL32 IsProto1Dvo() const;  // also by four versions, whatever the id

    static KBOOL32 IsProto1FpgaPort(KUINT32 uiFpgaDevId) { return uiFpgaDevId == E_FPGA_DEVID_PROTO1_FPGA_PORT; }
    static KBOOL32 IsTarnIn(KUINT32 uiFpgaDevId)         { return uiFpgaDevId == E_FPGA_DEVID_TARN_IN; }
    static KBOOL32 IsTarnInDp12(KUINT32 uiFpgaDevId)     { return uiFpgaDevId == E_FPGA_DEVID_TARN_IN_DP12; }
    static KBOOL32 IsTarnOut(KUINT32 uiFpgaDevId)        { return uiFpgaDevId == E_FPGA_DEVID_TARN_OUT; }
    static KBOOL32 IsTarnSdi(KUINT32 uiFpgaDevId)        { return uiFpgaDevId == E_FPGA_DEVID_TARN_SDI; }
    static KBOOL32 IsOpalUHD(KUINT32 uiFpgaDevId)        { return uiFpgaDevId == E_FPGA_DEVID_OPAL_UHD; }
    static KBOOL32 IsSorrel1(KUINT32 uiFpgaDevId)        { return uiFpgaDevId == E_FPGA_DEVID_SORREL1; }
    static KBOOL32 IsSorrel1Dec(KUINT32 uiFpgaDevId)     { return uiFpgaDevId == E_FPGA_DEVID_SORREL1_DEC; }
    static KBOOL32 IsSorrel2Enc(KUINT32 uiFpgaDevId)     { return uiFpgaDevId == E_FPGA_DEVID_SORREL2_ENC; }
    static KBOOL32 IsIpKvmInF0(KUINT32 uiFpgaDevId)      { return uiFpgaDevId == E_FPGA_DEVID_IP_KVM_IN_F0; }
    static KBOOL32 IsIpKvmInF1(KUINT32 uiFpgaDevId)      { return uiFpgaDevId == E_FPGA_DEVID_IP_KVM_IN_F1; }
    static KBOOL32 IsIpKvmOutF0(KUINT32 uiFpgaDevId)     { return uiFpgaDevId == E_FPGA_DEVID_IP_KVM_OUT_F0; }
    static KBOOL32 IsIpKvmOutF1(KUINT32 uiFpgaDevId)     { return uiFpgaDevId == E_FPGA_DEVID_IP_KVM_OUT_F1; }
    static KBOOL32 IsHeron(KUINT32 uiFpgaDevId)          { return uiFpgaDevId == E_FPGA_DEVID_HERON; }
    static KBOOL32 IsQuadHdmiIn(KUINT32 uiFpgaDevId);
    static KBOOL32 IsQuadDPOut(KUINT32 uiFpgaDevId);
    static KBOOL32 IsProto1Dvo(KUINT32 uiFpgaDevId);  // by the id only

    // What the firmware can do. A genlock follows a reference from outside, a frame lock keeps outputs in step.
    // IsCableLockDriveValueSupported is about one device; for every other it returns its argument.
    KBOOL32 IsOldBrgModel() const;
    KBOOL32 IsSubFieldModeSupported() const     { return m_uiBridgeVersion > E_BRIDGE_VER_02_005_008; }
    KBOOL32 IsInterruptStatusSupported() const  { return m_uiBridgeVersion > E_BRIDGE_VER_02_007_000; }
    KBOOL32 IsGenLockSupported() const;
    KBOOL32 IsFrameLockSupported() const;
    KBOOL32 IsLvdsJeidaSupported() const;
    KBOOL32 IsCableLockDriveValueSupported(int iValue) const;
    KBOOL32 IsMultiBoardsSyncSupported() const  { return IsHeron(); }
    KBOOL32 GetHdcpSupport() const;
    KUINT32 GetPortBandwidth() const;
    KUINT32 GetPortFifoSize() const             { return 16384; }

    static KBOOL32           m_sbForceFpgaSupport;  // TRUE: any firmware may be driven
    static constexpr KUINT32 msc_uiTicksPerSecond = 200000000;

    // Fills the registry from the device id and the version. The constructors call it last.
    void BuildFpgaVersion();
    // Appends one record to the registry. Does not look for duplicates.
    void AddFpgaVersion(KUINT32 uiFpgaVersion, KBOOL32 bIsSupported, KBOOL32 bIsKnown);

    KUINT32          m_uiFpgaDevId;
    KUINT32          m_uiFpgaVersion;    // packed, like m_uiBridgeVersion
    KUINT32          m_uiBridgeVersion;
    KUINT32          m_uiBusIndex;
    KUINT32          m_uiI2cAddress;
    KBOOL32          m_bIsTimeConversionSupported;
    CKString         m_szName;
    FpgaVersionArray m_daoFpgaVersionData;
};
// clang-format on

#endif
