// Texts of any bytes, as JSON can hold them.
#ifndef UTF8_TEXT_H
#define UTF8_TEXT_H

#include <string>
#include <string_view>

namespace SoftwareBoard::Recorder
{
// A text as it can stand in JSON. One that is no UTF-8 becomes one in which each byte is the code point of its value;
// then rbBytes is set, otherwise it stays.
std::string ToUtf8(std::string_view svBytes, bool& rbBytes);
// Makes such bytes of it again.
std::string FromUtf8(std::string_view svText);
}

#endif
