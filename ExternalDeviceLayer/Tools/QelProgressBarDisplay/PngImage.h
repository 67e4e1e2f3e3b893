// PNG pictures: a file into rows of R8G8B8A8 pixels.
#ifndef PNG_IMAGE_H
#define PNG_IMAGE_H

#include <cstdio>

#include "QelTypes.h"

// Reads a PNG picture into uiHeight rows of uiWidth pixels, uiPitchInBytes apart. The file is the caller's to open ("rb")
// and to close. A picture of another size is reported and cut; what it does not cover keeps what it held. The rows are
// written only when the whole picture was read: FALSE, and nothing written, for a file that is damaged, foreign or too
// large (more than 256 MiB decoded), or a heap that refuses. Pictures without alpha arrive with alpha 0.
KBOOL32 LoadImage(std::FILE* poPngFile, KUINT32 uiWidth, KUINT32 uiPitchInBytes, KUINT32 uiHeight, KUINT8* puiARGBData);

#endif
