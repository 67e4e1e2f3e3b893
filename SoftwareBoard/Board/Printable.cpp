#include "Printable.h"

#include <algorithm>

namespace SoftwareBoard
{
std::string MakePrintable(std::string strText)
{
    std::replace_if(
        strText.begin(), strText.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return strText;
}
}
