// The command line of the tool: its options, and the usage text that lists them.
#ifndef COMMAND_LINE_H
#define COMMAND_LINE_H

#include "QelTypes.h"
#include "Tavrin.h"
#include "VideoTimings.h"

// Limits of uiAnimStepLoopTimeMs, both included.
constexpr KUINT32 uiAnimStepLoopTimeMsMin = 16;
constexpr KUINT32 uiAnimStepLoopTimeMsMax = 10000;

// What the command line asks for, at first the defaults. File names point into the argument vector.
struct SArguments
{
    KUINT32            uiDevIndex           = 0;
    tagTVideo_VidParam oVidParam            = DEFAULT_TIMING;
    const char*        pszImageFileName     = nullptr;
    tagTRECT           oProgressBarRect     = {.iLeft = 256, .iTop = 284, .iRight = 768, .iBottom = 484};
    KBOOL32            bProgressBar         = FALSE;
    tagTRECT           oAnimBarRect         = {.iLeft = 256, .iTop = 100, .iRight = 512, .iBottom = 200};
    KBOOL32            bAnimation           = FALSE;
    const char*        pszAnimBaseFileName  = nullptr;
    KUINT32            uiAnimStepLoopTimeMs = 1000;
    KUINT32            uiEnableTime         = 0;      // seconds, 0 for no limit
    KBOOL32            bShowHelp            = FALSE;  // print the usage text instead of running
    KBOOL32            bErrorHelp           = TRUE;   // with bShowHelp: end as failed; FALSE if help was asked for
};

// Reads the arguments behind the program's name, and prints a message for each that is wrong. Returns FALSE when the tool
// has to end as failed without its usage text. Otherwise bShowHelp tells whether the usage text takes the place of a run.
KBOOL32 ParseArguments(int argc, char** argv, SArguments& roArguments);

// Prints the usage text; pszProgram is the name that the tool was called by.
void PrintUsage(const char* pszProgram);

#endif
