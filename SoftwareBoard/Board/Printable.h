// Makes text from outside safe to print on a terminal: file names, words of a command line, connector names.
#ifndef PRINTABLE_H
#define PRINTABLE_H

#include <string>

namespace SoftwareBoard
{
// Replaces every byte that is not printable ASCII by '?', so that the text cannot control a terminal.
std::string MakePrintable(std::string strText);
}

#endif
