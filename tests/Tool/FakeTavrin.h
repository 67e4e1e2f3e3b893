// A device library that records every call and lets chosen calls fail. The tool's loader and the test open the same
// libTavrin.so.1, so the test controls and reads it through the one SFakeTavrin that it holds.
#ifndef FAKE_TAVRIN_H
#define FAKE_TAVRIN_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Tavrin.h"

struct SFakeTavrin
{
    std::vector<std::string> asCalls;   // name and arguments, in order
    std::vector<size_t>      auiLoads;  // how many calls there had been at the library's own load, and at its unload

    std::function<bool(const std::string& sCall)> fFails;  // asked after every call is recorded
    TStatus                                       eFailure = TStatus_FAIL;

    bool bRecordsReads = true;  // if false, a register read is quick and left out of asCalls

    KUINT32 uiOutputs    = 2;
    KUINT32 uiPlanes     = 1;
    KUINT32 uiPitchExtra = 16;  // pixels beyond the width

    std::function<KUINT32()>   fProgress = [] { return KUINT32{100}; };
    std::vector<KUINT32>       auiPixels;  // the buffer's rows, after its last access
    std::unique_ptr<KUINT32[]> puiMapped;  // the same while it is accessed, at another address each time
    KUINT32                    uiWidth  = 0;
    KUINT32                    uiHeight = 0;
};

extern "C" SFakeTavrin* FakeTavrin_World();

#endif
