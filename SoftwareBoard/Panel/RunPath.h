// The folders in which a program has its libraries looked for.
#ifndef RUN_PATH_H
#define RUN_PATH_H

#include <string>

namespace SoftwareBoard::Panel
{
// The RUNPATH in the bytes of a program. Empty if it has none or is no program of this machine's kind. The bytes may be any.
std::string FindRunPath(const std::string& strFile);
}

#endif
