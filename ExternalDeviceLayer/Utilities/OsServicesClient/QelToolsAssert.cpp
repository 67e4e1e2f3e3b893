#include "QelTools.h"

void QelTools_Assert(KBOOL32, const KCHAR8*, KINT32) {}
