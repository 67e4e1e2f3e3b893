// A device library that records every call and lets those fail that a test chooses. The tool's loader and the test open the same
// libTavrin.so.1, so the test scripts it and reads it through the one world in it.
#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Tavrin.h"

struct SFakeTavrin
{
    std::vector<std::string> asCalls;   // name and arguments, in order
    std::vector<std::size_t> auiLoads;  // how many calls there had been at the library's own load, and at its unload

    std::function<bool(const std::string& sCall)> fFails;  // asked of every call, once it is recorded
    TStatus                                       eFailure = TStatus_FAIL;

    bool bRecordsReads = true;  // else a register read is quick, and not in asCalls

    KUINT32 uiOutputs    = 2;
    KUINT32 uiPlanes     = 1;
    KUINT32 uiPitchExtra = 16;  // pixels beyond the width

    std::function<KUINT32()>   fProgress = [] { return KUINT32{100}; };
    std::vector<KUINT32>       auiPixels;  // the buffer's rows, after its last access
    std::unique_ptr<KUINT32[]> puiMapped;  // and while it is accessed: another address for every period
    KUINT32                    uiWidth  = 0;
    KUINT32                    uiHeight = 0;
};

extern "C" SFakeTavrin* FakeTavrin_World();
