// Text from outside, such as file names, words of a command line and connector names, as it may be shown on a terminal.
#ifndef PRINTABLE_H
#define PRINTABLE_H

#include <string>

namespace SoftwareBoard
{
// Every byte that is not printable ASCII becomes '?', so that the text cannot command a terminal.
std::string MakePrintable(std::string strText);
}

#endif
