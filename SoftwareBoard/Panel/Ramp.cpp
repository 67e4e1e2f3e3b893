#include "Ramp.h"

namespace SoftwareBoard::Panel
{
namespace
{
struct SPoint
{
    double fTime;
    double fWork;
};

// Straight lines from point to point. While the work stays the same, the update halts.
constexpr SPoint POINTS[] = {
    {0.00, 0.00}, {0.15, 0.04}, {0.35, 0.20}, {0.45, 0.20}, {0.60, 0.46},
    {0.68, 0.52}, {0.80, 0.52}, {0.92, 0.95}, {1.00, 1.00},
};
}

double RampTimeOf(double fWork, bool bLinear)
{
    if (bLinear)
        return fWork;
    const SPoint* poFrom = POINTS;
    for (const SPoint& roTo : POINTS)
    {
        // At the work of a halt, the time is the beginning of the halt.
        if (fWork <= roTo.fWork && roTo.fWork > poFrom->fWork)
            return poFrom->fTime + (fWork - poFrom->fWork) / (roTo.fWork - poFrom->fWork) * (roTo.fTime - poFrom->fTime);
        poFrom = &roTo;
    }
    return 1.0;
}
}
