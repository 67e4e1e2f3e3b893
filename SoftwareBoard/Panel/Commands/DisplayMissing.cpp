#include "BoardError.h"
#include "Commands.h"

namespace SoftwareBoard::Panel
{
Action AddDisplay(CLI::App&, const PassedOn&)
{
    return [] { throw BoardError("display: this tavrin-board was built without libdrm and libudev"); };
}
}
