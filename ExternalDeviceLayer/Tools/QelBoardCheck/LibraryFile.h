// Which file a loaded library is.
#ifndef LIBRARY_FILE_H
#define LIBRARY_FILE_H

#include "Json.h"

namespace BoardCheck
{
// The path by which the dynamic linker opened it, the file behind links, the name and version that it has there and in
// itself, and its build id in hexadecimal; null for what it does not tell.
Json DescribeLibraryFile(void* pvLibrary);
}

#endif
