// Checks whether the pictures that the tool will show exist and have the right size. The tool ignores a picture that is
// missing or damaged. It does not scale one of another size, but shows what fits.
#ifndef PREVIEW_PICTURES_H
#define PREVIEW_PICTURES_H

#include <vector>

namespace SoftwareBoard::Viewer
{
// Prints on standard error what is wrong with the background (-i) and the frames (-f) in these arguments of the tool. The
// last element is null. Prints nothing for arguments that the tool refuses: the tool says why.
void WarnOfPictures(const std::vector<char*>& roArguments);
}

#endif
