// The names of the FPGA devices, for people.
#ifndef X_DEV_FPGA_NAMES_H
#define X_DEV_FPGA_NAMES_H

#include "QelTypes.h"

// Returns the name of a device id, such as "TARN_IN", or null for an id that is not known.
const KCHAR8* FindFpgaDeviceName(KUINT32 uiFpgaDevId);

#endif
