// Whether the pictures that the tool is to show are there and of their size. The tool passes over one that is missing or
// damaged, and shows whatever fits of one that has another size.
#ifndef PREVIEW_PICTURES_H
#define PREVIEW_PICTURES_H

#include <vector>

namespace SoftwareBoard::Viewer
{
// Says on standard error what is wrong with the background (-i) and the frames (-f) of these arguments of the tool; null is
// the last of them. A command line that the tool refuses has nothing wrong here: the tool says so.
void WarnOfPictures(const std::vector<char*>& roArguments);
}

#endif
