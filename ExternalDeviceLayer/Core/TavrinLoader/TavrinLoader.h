// The operations of Tavrin.h for a client: each passes its arguments on to the library that Tavrin_Load opened. This header
// is for a client that examines the library itself.
#ifndef TAVRIN_LOADER_H
#define TAVRIN_LOADER_H

#include <vector>

#include "QelTypes.h"

constexpr KCHAR8 TAVRIN_LIBRARY_NAME[] = "libTavrin.so.1";

// The names of the operations that a library must export, in the order in which Tavrin_Load looks them up.
std::vector<const KCHAR8*> GetTavrinOperationNames();

// Null, or a function that the loader calls before each call into the library, with the name of the operation, and after it,
// with null. It may throw before a call, which is then not made.
extern void (*g_pfnTavrinCallObserver)(const KCHAR8* pszOperation);

#endif
