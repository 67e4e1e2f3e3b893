// Programs that name folders for their libraries: what is found is a text of the file.
#include "Fuzz.h"
#include "RunPath.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, size_t uiSize)
{
    const std::string strFile(reinterpret_cast<const char*>(puiData), uiSize);
    Must(strFile.find(SoftwareBoard::Panel::FindRunPath(strFile)) != std::string::npos);
    return 0;
}
