// The 19 values of a timing by name, in the order of the tool's command line.
#ifndef TIMING_H
#define TIMING_H

#include <span>
#include <string>

#include "Tavrin.h"

namespace SoftwareBoard
{
enum class ETimingKind
{
    Number,
    YesNo,
    Polarity,
    Word,
};

struct STimingField
{
    const char* pszName;
    ETimingKind eKind;
    KUINT32 (*pfnGet)(const tagTVideo_VidParam& roVidParam);
    std::span<const char* const> apszWords;  // the names of a Word's values, from 0
};

std::span<const STimingField> TimingFields();

// The name of the value; null if it has none.
const char* WordOf(const STimingField& roField, KUINT32 uiValue);

// The timing as the tool's command line takes it, so that it can be copied.
std::string DescribeTiming(const tagTVideo_VidParam& roVidParam);
}

#endif
