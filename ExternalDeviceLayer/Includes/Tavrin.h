// What the device library publishes: its types, its enumerations and its operations.
//
// Handles are pointers. TStatus and every enumeration have 32 bits. The operations have C linkage. A client calls them
// through Core/TavrinLoader, which opens libTavrin.so.1 at run time. A library that replaces the maker's exports all
// operations except Tavrin_Load and Tavrin_UnLoad.
#ifndef TAVRIN_H
#define TAVRIN_H

#include <cstddef>

#include "QelTypes.h"

// The status of an operation. Negative values are failures.
enum TStatus : KINT32
{
    TStatus_OK             = 0,
    TStatus_FAIL           = -1,
    TStatus_INVALID_PARAM  = -2,
    TStatus_TIMEOUT        = -3,
    TStatus_RESOURCES_BUSY = -8,
    TStatus_CANCELED       = -12,
};

// Pixel formats. A name lists the fields from the lowest bits up, so R8G8B8A8 has red in its first byte.
enum TPixelFormat : KUINT32
{
    TPixelFormat_B5G6R5               = 29,
    TPixelFormat_B5G5R5A1             = 30,
    TPixelFormat_R8G8B8A8             = 52,
    TPixelFormat_B8G8R8A8             = 54,
    TPixelFormat_V8U8Y8A8             = 56,
    TPixelFormat_B10G10R10A2          = 61,
    TPixelFormat_MP_Y8_U8V8_444       = 0x10002D09,
    TPixelFormat_MP_Y8_U8V8_422       = 0x12002D09,
    TPixelFormat_MP_Y10_U10V10_X2_422 = 0x12002E15,
};

enum TAccessMode : KUINT32
{
    TAccessMode_READWRITE = 2,
};

enum TVideo_SignalType : KUINT32
{
    TVideo_SignalType_USEDEFAULT = 0,
};

enum TVideoOut_PowerState : KUINT32
{
    TVideoOut_PowerState_ON = 1,
};

enum TVideo_ColorSpace : KUINT32
{
    TVideo_ColorSpace_RGB_FULL     = 0,
    TVideo_ColorSpace_RGB_LIMITED  = 1,
    TVideo_ColorSpace_YUV_709      = 2,
    TVideo_ColorSpace_YUV_601      = 3,
    TVideo_ColorSpace_YUV_601_FULL = 4,
    TVideo_ColorSpace_YUV_2020     = 5,
};

enum TVideo_ChromaSubSampling : KUINT32
{
    TVideo_ChromaSubSampling_444 = 0,
    TVideo_ChromaSubSampling_420 = 1,
    TVideo_ChromaSubSampling_422 = 2,
};

enum TVideo_ColorDepth : KUINT32
{
    TVideo_ColorDepth_8BIT  = 0,
    TVideo_ColorDepth_10BIT = 1,
    TVideo_ColorDepth_12BIT = 2,
    TVideo_ColorDepth_16BIT = 3,
};

struct TDEVICE_OBJECT;
struct TBUFFER_OBJECT;
struct TVIDEOOUT_OBJECT;

using TDevice_Handle   = TDEVICE_OBJECT*;
using TBuffer_Handle   = TBUFFER_OBJECT*;
using TVideoOut_Handle = TVIDEOOUT_OBJECT*;

using TSTR64 = KCHAR8[64];

// A rectangle in pixels. The origin is the top left corner of the output. A filled rectangle excludes its right and bottom
// edge.
struct tagTRECT
{
    KINT32 iLeft;
    KINT32 iTop;
    KINT32 iRight;
    KINT32 iBottom;
};
using TRECT = tagTRECT;

// Video timings of an output. Horizontal values are pixels, vertical values are lines, unless the name has another unit.
struct tagTVideo_VidParam
{
    KUINT32 uiHActive;
    KUINT32 uiVActive;
    KUINT32 uiVRate_Hz;
    KUINT32 uiHRate_kHz;
    KUINT32 uiPixelClock_kHz;
    KUINT32 uiHFPorch;
    KUINT32 uiHSync;
    KUINT32 uiHBPorch;
    KUINT32 uiVFPorch;
    KUINT32 uiVSync;
    KUINT32 uiVBPorch;
    KUINT32 bInterlaced : 1;
    KUINT32 bBottomFieldFirst : 1;
    KUINT32 bHorizontalSyncPositive : 1;
    KUINT32 bVerticalSyncPositive : 1;
    KUINT32 bIsYuv : 1;
    KUINT32 fColorSpace : 4;         // TVideo_ColorSpace
    KUINT32 fChromaSubSampling : 2;  // TVideo_ChromaSubSampling
    KUINT32 fColorDepth : 2;         // TVideo_ColorDepth
    KUINT32 fIs3GLevelB : 1;
    KUINT32 fTransferCharacteristic : 2;
    KUINT32 uiReserved1 : 16;
    KUINT64 uiReserved2;
};
using TVideo_VidParam = tagTVideo_VidParam;

// The planes of a buffer. Array entries from uiPlaneCount on are unused.
struct tagTBuffer_PlaneInfo
{
    KUINT32      uiPlaneCount;
    TPixelFormat aePlaneFormat[3];
    KUINT32      auiWidth[3];  // pixels
    KUINT32      auiWidthInBytes[3];
    KUINT32      auiHeight[3];        // rows
    KUINT32      auiPitch[3];         // from one row to the next, in pixels
    KUINT32      auiPitchInBytes[3];  // the same in bytes
};

// One FPGA of a board. The caller sets uiSize to the size of its record.
struct tagTBoard_FpgaInfo
{
    KUINT32 uiSize;
    TSTR64  szName;
    KUINT16 ui16DevID;
    KUINT16 ui16VendorID;
    KUINT32 uiI2cBusIndex;
    KUINT32 uiI2cAddress;
    KUINT8  uiVersionMajor;
    KUINT8  uiVersionMinor;
    KUINT16 uiVersionBuild;
};

static_assert(sizeof(tagTVideo_VidParam) == 56 && offsetof(tagTVideo_VidParam, uiReserved2) == 48);
static_assert(sizeof(tagTBuffer_PlaneInfo) == 76);
static_assert(sizeof(tagTBoard_FpgaInfo) == 84 && offsetof(tagTBoard_FpgaInfo, ui16DevID) == 68);

extern "C"
{
// The loader provides these two. Tavrin_Load opens libTavrin.so.1 and finds every operation. If the library or an operation
// is missing, it writes an error message with its name and returns TStatus_FAIL. A second load changes nothing.
// Tavrin_UnLoad closes the library, and does nothing without a load. While no library is loaded, every operation below
// returns TStatus_FAIL, a device count of 0 or a null device.
TStatus Tavrin_Load(void);
TStatus Tavrin_UnLoad(void);

// Devices, numbered from 0. Tavrin_GetDevice returns null for a number beyond them. A device handle needs no release.
KUINT32        Tavrin_GetDeviceCount(void);
TDevice_Handle Tavrin_GetDevice(KUINT32 uiDevIndex);

// Video buffers. TBuffer_BeginAccess writes the addresses of the first uiPlaneCount planes to auiPlanes. The client may
// access the pixels there until TBuffer_EndAccess. The next access may get other addresses.
TStatus TBuffer_CreateVideo(TDevice_Handle hDev, TPixelFormat ePixelFormat, KUINT32 uiWidth, KUINT32 uiHeight,
                            TBuffer_Handle* phBuffer);
TStatus TBuffer_GetPlaneInfo(TBuffer_Handle hBuffer, tagTBuffer_PlaneInfo* poPlaneInfo);
TStatus TBuffer_BeginAccess(TBuffer_Handle hBuffer, KUINT32 uiMode, KUINT32 uiPlaneCount, KUINTPTR* auiPlanes);
TStatus TBuffer_EndAccess(TBuffer_Handle hBuffer);
TStatus TBuffer_Destroy(TBuffer_Handle hBuffer);

// Video outputs of a device, numbered from 0. An enabled output shows the current contents of the buffer with the given
// timings, even after its handle was released. TStatus_RESOURCES_BUSY means that another client holds the output.
TStatus TVideoOut_GetCount(TDevice_Handle hDev, KUINT32* puiCount);
TStatus TVideoOut_GetHandle(TDevice_Handle hDev, KUINT32 uiIndex, TAccessMode eAccessMode, TVideoOut_Handle* phVideoOut);
TStatus TVideoOut_Enable(TVideoOut_Handle hVideoOut, TVideo_SignalType eSignalType, const tagTVideo_VidParam* poVidParam,
                         TBuffer_Handle hBuffer, TVideoOut_PowerState ePowerState);
TStatus TVideoOut_Disable(TVideoOut_Handle hVideoOut);
TStatus TVideoOut_ReleaseHandle(TVideoOut_Handle hVideoOut);

// The 32-bit registers of a board, by number, and its FPGAs, numbered from 0.
TStatus TBoard_RegWrite(TDevice_Handle hDev, KUINT32 uiRegister, KUINT32 uiValue);
TStatus TBoard_RegRead(TDevice_Handle hDev, KUINT32 uiRegister, KUINT32* puiValue);
TStatus TBoard_GetFpgaCount(TDevice_Handle hDev, KUINT32* puiCount);
TStatus TBoard_GetFpgaInfo(TDevice_Handle hDev, KUINT32 uiIndex, tagTBoard_FpgaInfo* poFpgaInfo);
}

#endif
