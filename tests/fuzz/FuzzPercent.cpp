// Lines of an updater. However they are cut into reads, they give one percentage. A text that is a percentage is found in a
// line, and one that ends a line counts, whatever stands before it.
#include "Fuzz.h"
#include "Percent.h"

using namespace SoftwareBoard::Panel;

int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, size_t uiSize)
{
    const std::string_view svText(reinterpret_cast<const char*>(puiData), uiSize);
    const auto             fRead = [&](size_t uiAtOnce) {
        PercentReader          oReader;
        std::optional<KUINT32> ouiLast;
        for (size_t uiAt = 0; uiAt < uiSize; uiAt += uiAtOnce)
            if (const auto ouiFound = oReader.Take(svText.substr(uiAt, uiAtOnce))) ouiLast = ouiFound;
        const auto ouiEnd = oReader.TakeEnd();
        return ouiEnd ? ouiEnd : ouiLast;
    };
    const auto ouiRead = fRead(uiSize + 1);
    Must(fRead(1) == ouiRead && fRead(7) == ouiRead && ouiRead.value_or(0) <= 100);
    if (ouiRead) Must(svText.find_first_of("0123456789") != std::string_view::npos);
    if (const auto oui = ParsePercent(svText)) Must(*oui <= 100 && FindPercent(svText) == oui);
    Must(FindPercent(std::string(svText) + " 40%") == 40u && FindPercent(std::string(svText) + "|40.9 %") == 40u);
    return 0;
}
