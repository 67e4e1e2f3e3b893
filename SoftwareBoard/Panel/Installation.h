// Finds other parts of the project: beside this program, as in the build folder, or where they are installed.
#ifndef INSTALLATION_H
#define INSTALLATION_H

#include <string>

namespace SoftwareBoard::Panel
{
// Returns the path of another program of the project if it is beside this program. Otherwise returns its name, which execvp
// looks up in PATH.
std::string FindProgram(const std::string& strName);

// Puts the folder of the software board's library first in LD_LIBRARY_PATH, for the programs that this process executes.
// Throws BoardError if the library is not found.
void UseBoardLibrary();
}

#endif
