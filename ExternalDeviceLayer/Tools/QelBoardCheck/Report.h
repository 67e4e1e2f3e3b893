// The report: what was found, as one JSON object, and the same as text.
#ifndef REPORT_H
#define REPORT_H

#include "Checks.h"
#include "Json.h"

namespace BoardCheck
{
// Makes every trial that the request asks for.
Json MakeReport(const SRequest& roRequest);

// 0, or 1 if something fails or is left or a board may not be driven, or 3 if there is no library or no board.
int GetExitStatus(const Json& roReport);

void PrintText(const Json& roReport);
}

#endif
