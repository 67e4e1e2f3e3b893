// Outputs that go on and off: who holds them, and the word of the process that shows them on displays, if one does. What
// fails leaves the output as it was.
#ifndef OUTPUT_CHANGE_H
#define OUTPUT_CHANGE_H

#include "Client.h"

namespace SoftwareBoard::Library
{
// TStatus_RESOURCES_BUSY when another process holds the output, TStatus_FAIL when the display process refuses what it is to
// show or says nothing for two seconds.
TStatus EnableOutput(Client& roClient, const TVIDEOOUT_OBJECT& roOutput, const SOutputRecord& roRecord);
TStatus DisableOutput(Client& roClient, const TVIDEOOUT_OBJECT& roOutput);
}

#endif
