// The pace of a firmware update: how much of it is done after a share of its time.
#ifndef RAMP_H
#define RAMP_H

namespace SoftwareBoard::Panel
{
// The share of the time, 0 to 1, after which a share of the work is done. Never falls; all of the work takes all of the
// time. Unless linear, an update as it feels: it starts slowly, halts twice, and runs at last.
double RampTimeOf(double fWork, bool bLinear);
}

#endif
