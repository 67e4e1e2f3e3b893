// A pattern of pixels that tells what became of it: drawn in one access, and compared in the same or in another.
#ifndef PLANE_PATTERN_H
#define PLANE_PATTERN_H

#include <string>
#include <vector>

#include "BoardObjects.h"

namespace BoardCheck
{
using Pixels = std::vector<KUINT32>;

// The words of the plane, row by row, without the padding.
Pixels ReadPlane(const Access& roAccess);

// Two patterns, of which each has the bits that the other lacks.
void DrawPattern(const Access& roAccess, bool bInverted);

// In words: what the plane holds instead of the pattern; empty if it holds the pattern. Before: what it held before that was
// drawn.
std::string CompareWithPattern(const Access& roAccess, bool bInverted, const Pixels& roBefore);
}

#endif
