#include "BoardError.h"
#include "Watch.h"

namespace SoftwareBoard::Viewer
{
void WatchInTerminal(WatchedBoard&)
{
    throw BoardError(
        "watch: built without libchafa, so no pictures in a terminal; \"tavrin-board watch | cat\" gives lines");
}
}
