// PNG pictures: a file into rows of R8G8B8A8 pixels.
#ifndef PNG_IMAGE_H
#define PNG_IMAGE_H

#include <cstdio>

#include "QelTypes.h"

// Reads a PNG picture into uiHeight rows of uiWidth pixels, uiPitchInBytes apart. The caller opens the file ("rb") and
// closes it. A picture of another size is reported and cut; what it does not cover keeps what it held. Pictures without
// alpha arrive with alpha 0. Returns FALSE and writes nothing if the file is damaged, is not a PNG, needs more than 256 MiB
// decoded, or memory runs out.
KBOOL32 LoadImage(std::FILE* poPngFile, KUINT32 uiWidth, KUINT32 uiPitchInBytes, KUINT32 uiHeight, KUINT8* puiARGBData);

#endif
