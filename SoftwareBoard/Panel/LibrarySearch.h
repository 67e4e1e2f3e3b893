// Finds the device library that a command would get, by the rules of the dynamic linker, without running the command.
#ifndef LIBRARY_SEARCH_H
#define LIBRARY_SEARCH_H

#include <string>

namespace SoftwareBoard::Panel
{
// Finds strChosen, or else the library that the command would get: in the folders of LD_LIBRARY_PATH, in those that the
// program names (its RUNPATH), then where this program finds it. Opens it in a child process, as it may crash. Returns its
// absolute path. Throws BoardError if there is none, if it cannot be loaded or lacks an operation, or if it is the recording
// library in the folder strRecorder. In LD_LIBRARY_PATH and RUNPATH that one is passed over.
std::string FindDeviceLibrary(const char* pszCommand, const std::string& strChosen, const std::string& strRecorder);

// Throws BoardError if there is no such command.
void RequireProgram(const char* pszCommand);
}

#endif
