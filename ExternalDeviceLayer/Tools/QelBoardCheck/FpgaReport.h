// What is known of an FPGA, for the report.
#ifndef FPGA_REPORT_H
#define FPGA_REPORT_H

#include <string>

#include "Json.h"
#include "Tavrin.h"

namespace BoardCheck
{
// The record, the version as text, the name of the device, the registry's verdict and everything that the firmware can do.
Json DescribeFpga(const tagTBoard_FpgaInfo& roInfo);

// "TARN_IN 001-033-007"
std::string NameFirmware(const tagTBoard_FpgaInfo& roInfo);
}

#endif
