// Enables and disables outputs. Enabling waits for the display process, if there is one. A call that fails leaves the output
// as it was, unless the board cannot be reached any more.
#ifndef OUTPUT_CHANGE_H
#define OUTPUT_CHANGE_H

#include "Client.h"

namespace SoftwareBoard::Library
{
// TStatus_RESOURCES_BUSY if another process holds the output. TStatus_FAIL if the display process refuses the output or does
// not answer within two seconds. Other failures throw BoardError.
TStatus EnableOutput(Client& roClient, const TVIDEOOUT_OBJECT& roOutput, const SOutputRecord& roRecord);
TStatus DisableOutput(Client& roClient, const TVIDEOOUT_OBJECT& roOutput);
}

#endif
