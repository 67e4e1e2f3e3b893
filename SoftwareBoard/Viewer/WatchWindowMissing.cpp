#include "BoardError.h"
#include "Watch.h"

namespace SoftwareBoard::Viewer
{
void WatchInWindow(WatchedBoard&)
{
    throw BoardError("watch --window: built without SDL2, so there are no windows; \"tavrin-board watch\" needs none");
}
}
