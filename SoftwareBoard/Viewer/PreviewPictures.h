// What a preview learns from the tool's arguments: which rows change, and whether the pictures that the tool will show exist
// and have the right size. The tool ignores a picture that is
// missing or damaged. It does not scale one of another size, but shows what fits.
#ifndef PREVIEW_PICTURES_H
#define PREVIEW_PICTURES_H

#include <optional>
#include <utility>
#include <vector>

#include "QelTypes.h"

namespace SoftwareBoard::Viewer
{
// Parts of an output: for each its first row, and the one behind its last.
using Rows = std::vector<std::pair<KUINT32, KUINT32>>;

// The rows that the tool draws on while it runs, by these arguments of it. The last element is null. Returns nothing if the
// tool would refuse them.
std::optional<Rows> FindRowsDrawnOn(const std::vector<char*>& roArguments);

// Prints on standard error what is wrong with the background (-i) and the frames (-f) in these arguments of the tool. The
// last element is null. Prints nothing for arguments that the tool refuses: the tool says why.
void WarnOfPictures(const std::vector<char*>& roArguments);
}

#endif
