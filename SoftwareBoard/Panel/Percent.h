// Percentages as updaters print them.
#ifndef PERCENT_H
#define PERCENT_H

#include <optional>
#include <string>
#include <string_view>

#include "QelTypes.h"

namespace SoftwareBoard::Panel
{
// The percentage that a text consists of: 40, 40.5, 40% and 40.5% are 40. Nothing for any other text, and above 100.
std::optional<KUINT32> ParsePercent(std::string_view svText);

// The last number of a line that is a percentage. A number is whole, or has decimals after a point or a comma. Digits that
// belong to a word, a path, a sign or a version, such as those of "rootfs.0", "mmcblk0", "/run/5.bin", "-5" and "1.2.3", are
// no number, unless a percent sign follows them.
std::optional<KUINT32> FindPercent(std::string_view svLine);

// Finds the percentages in a stream of lines. A line ends with a newline or a carriage return.
class PercentReader
{
public:
    // Takes what was read. Returns the percentage of the last line that ended in it and has one.
    std::optional<KUINT32> Take(std::string_view svRead);
    // Takes the end of the stream, which ends the last line.
    std::optional<KUINT32> TakeEnd() { return Take("\n"); }

private:
    std::string m_strLine;  // what was read of a line that has not ended
};
}

#endif
