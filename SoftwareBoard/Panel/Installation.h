// Where the parts of the board are installed: they lie beside this program, as they do where they were built, or in folders
// near it.
#ifndef INSTALLATION_H
#define INSTALLATION_H

#include <string>

namespace SoftwareBoard::Panel
{
// The path of another program of the project: the one beside this program, otherwise its name alone, which a shell would
// look for.
std::string FindProgram(const std::string& strName);

// Puts the software board's library before what LD_LIBRARY_PATH holds, for what this process executes. Throws BoardError
// when the library is not there.
void UseBoardLibrary();
}

#endif
