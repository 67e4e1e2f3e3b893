// Whether the firmware of a board's FPGAs may be driven, and why not.
#ifndef FPGA_FIRMWARE_CHECK_H
#define FPGA_FIRMWARE_CHECK_H

#include "QelTypes.h"
#include "Tavrin.h"
#include "XDevFpgaInfo.h"

// The FPGAs that are examined: those of the maker at this address.
constexpr KUINT32 EXAMINED_FPGA_I2C_ADDRESS = 0xd0;
constexpr KUINT16 EXAMINED_FPGA_VENDOR_ID   = 0xc3e7;

enum class EFirmwareFinding
{
    Supported,
    NoFpgaCount,   // the board cannot count its FPGAs
    NoFpga,        // it has none
    NoFpgaInfo,    // it cannot describe one of them
    NoneExamined,  // none is the maker's at the examined address
    NotKnown,      // the last one that was examined has a version that is not known
};

struct SFirmwareFinding
{
    EFirmwareFinding   eFinding;
    KUINT32            uiFpgaIdx = {};            // the FPGA that decided; for NoFpgaInfo and NotKnown
    TStatus            eStatus   = TStatus_FAIL;  // what the board's call returned; for NoFpgaCount and NoFpgaInfo
    tagTBoard_FpgaInfo oFpgaInfo = {};            // of the FPGA that decided; for NotKnown
};

// Examines the maker's FPGAs at the examined address, in index order, up to the first one that is not supported. They may be
// driven if it examined any and the last one has a known version, even a version that is known as not supported. Prints
// nothing.
SFirmwareFinding ExamineFpgaFirmware(TDEVICE_OBJECT* hDev);

// The same as yes or no. Prints a line if the board has no FPGA.
KBOOL32 IsFpgaFirmwareSupported(TDEVICE_OBJECT* hDev);

// What is known of an FPGA that a board describes.
XDevFpgaInfo ToFpgaInfo(const tagTBoard_FpgaInfo& roInfo);

#endif
