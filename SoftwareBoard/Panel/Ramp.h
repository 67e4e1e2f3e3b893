// The pace of a firmware update: when a share of its work is done.
#ifndef RAMP_H
#define RAMP_H

namespace SoftwareBoard::Panel
{
// Returns the share of the time after which the share fWork of the work is done; both are 0 to 1. Never falls; 1 for 1.
// Unless bLinear is set, the update starts slowly, halts twice, and speeds up at the end.
double RampTimeOf(double fWork, bool bLinear);
}

#endif
