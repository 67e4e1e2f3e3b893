// Whether the firmware of a board's FPGAs may be driven.
#ifndef FPGA_FIRMWARE_CHECK_H
#define FPGA_FIRMWARE_CHECK_H

#include "QelTypes.h"
#include "Tavrin.h"

// Examines the maker's FPGAs at I2C address 0xd0, in index order, up to the first one that is not supported. Returns TRUE
// if it examined any and the last one has a known version, even a version that is known as not supported. Prints a line if
// the board has no FPGA.
KBOOL32 IsFpgaFirmwareSupported(TDEVICE_OBJECT* hDev);

#endif
