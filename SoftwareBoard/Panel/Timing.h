// The 19 values of a timing by name, in the order in which the tool's command line takes them.
#ifndef TIMING_H
#define TIMING_H

#include <span>
#include <string>

#include "Tavrin.h"

namespace SoftwareBoard::Panel
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
    KUINT32 (*pfGet)(const tagTVideo_VidParam& roVidParam);
    std::span<const char* const> apszWords;  // of a Word, by value
};

std::span<const STimingField> TimingFields();

// The word for the value; null when there is none.
const char* WordOf(const STimingField& roField, KUINT32 uiValue);

// As the tool's command line takes it, so that a timing can be copied from here to there.
std::string DescribeTiming(const tagTVideo_VidParam& roVidParam);
}

#endif
