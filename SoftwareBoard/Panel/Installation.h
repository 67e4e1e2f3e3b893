// Finds other parts of the project: beside this program, as in the build folder, or where they are installed.
#ifndef INSTALLATION_H
#define INSTALLATION_H

#include <string>

namespace SoftwareBoard::Panel
{
// Returns the path of another program of the project if it is beside this program. Otherwise returns its name, which execvp
// looks up in PATH.
std::string FindProgram(const std::string& strName);

// Finds the folder of a libTavrin.so.1 of the project: "" is the software board's library, "record" and "replay" the two
// others. Throws BoardError if it is not found.
std::string FindLibraryFolder(const std::string& strKind);

// Sets an environment variable for the programs that this process executes. Throws BoardError.
void SetVariable(const char* pszName, const std::string& strValue);

// Puts that folder first in LD_LIBRARY_PATH, for the programs that this process executes.
void        UseLibrary(const std::string& strKind);
inline void UseBoardLibrary()
{
    UseLibrary("");
}
}

#endif
