// The parts of a PNG file: a file that is whole has its last part, and whatever follows that does not matter.
#include <memory>
#include <string_view>

#include "Fuzz.h"
#include "PngParts.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, size_t uiSize)
{
    const std::string_view svFile(reinterpret_cast<const char*>(puiData), uiSize);
    const auto             fIsWhole = [&](size_t uiBytes) {
        // It is only read, though it is not passed as such.
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> poFile(
                        fmemopen(const_cast<std::uint8_t*>(puiData), uiBytes, "r"), std::fclose);
        return poFile != nullptr && SoftwareBoard::Viewer::FaultOfParts(poFile.get()) == nullptr;
    };
    if (fIsWhole(uiSize))
        Must(svFile.find("IEND") < uiSize - 7);
    else  // so is none of its beginnings
        Must(!fIsWhole(uiSize / 2) && !fIsWhole(uiSize - uiSize / 4));
    return 0;
}
