// Whether the firmware of a board's FPGAs may be driven.
#ifndef FPGA_FIRMWARE_CHECK_H
#define FPGA_FIRMWARE_CHECK_H

#include "QelTypes.h"
#include "Tavrin.h"

// Examines the maker's FPGAs at the board's own address, in index order, up to the first that is not supported. TRUE
// when there was one and the last that was examined has a known version, even one that is known as not supported.
KBOOL32 IsFpgaFirmwareSupported(TDEVICE_OBJECT* hDev);

#endif
