// Finds the device library that a command would get, by the rules of the dynamic linker, without running the command.
#ifndef LIBRARY_SEARCH_H
#define LIBRARY_SEARCH_H

#include <string>

namespace SoftwareBoard::Panel
{
// Looks in the folders of LD_LIBRARY_PATH, in those that the program names (its RUNPATH), then where this program finds it.
// Leaves out the folder strExcept. Returns the path of the library. Throws BoardError if there is none.
std::string FindDeviceLibrary(const char* pszCommand, const std::string& strExcept);

// Throws BoardError if the library cannot be loaded or lacks an operation. Returns its absolute path.
std::string CheckDeviceLibrary(const std::string& strPath);
}

#endif
