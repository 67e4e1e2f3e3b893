// The way of another program to this board: its library before the others.
#ifndef LIBRARY_H
#define LIBRARY_H

#include <filesystem>

namespace Panel
{
// Where the panel itself lies.
std::filesystem::path FindPanelFolder();

// Puts the software board's library before what LD_LIBRARY_PATH holds, for what this process executes.
void UseBoardLibrary();
}

#endif
