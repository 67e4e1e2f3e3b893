#include <png.h>

#include <cstdio>
#include <memory>

#include "BoardError.h"
#include "Panel.h"
#include "Screen.h"

using namespace SoftwareBoard;

namespace Panel
{
namespace
{
void WritePng(const SPicture& roPicture, std::FILE* poFile, const std::string& strPath)
{
    png_image oImage = {};
    oImage.version   = PNG_IMAGE_VERSION;
    oImage.width     = roPicture.uiWidth;
    oImage.height    = roPicture.uiHeight;
    oImage.format    = PNG_FORMAT_RGB;
    if (png_image_write_to_stdio(&oImage, poFile, 0, roPicture.auiRgb.data(), 0, nullptr) == 0)
        throw BoardError(strPath + ": cannot be written: " + oImage.message);
}

// A complete file or none: written beside its place and moved there.
void WriteSnapshot(const SPicture& roPicture, const std::string& strPath)
{
    const std::string                                     strNew = strPath + "." + std::to_string(getpid()) + ".new";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> poFile(std::fopen(strNew.c_str(), "wbxe"), std::fclose);
    if (poFile == nullptr)
        ThrowSystemError(strNew, "open");
    try
    {
        WritePng(roPicture, poFile.get(), strNew);
        if (std::fflush(poFile.get()) != 0)
            ThrowSystemError(strNew, "write");
        if (std::rename(strNew.c_str(), strPath.c_str()) != 0)
            ThrowSystemError(strPath, "rename");
    }
    catch (...)
    {
        unlink(strNew.c_str());
        throw;
    }
}
}

Action AddSnapshot(CLI::App& roCommand, const PassedOn&)
{
    struct SOptions
    {
        KUINT32     uiOutput = 0;
        KUINT32     uiDevice = 0;
        std::string strPath;
    };
    const auto poOptions = std::make_shared<SOptions>();
    AddNumber(roCommand, "OUTPUT", poOptions->uiOutput, 0, uiMaxOutputs - 1, "Which output, from 0")->required();
    roCommand.add_option("FILE", poOptions->strPath, "The PNG file to write")->required();
    AddDevice(roCommand, poOptions->uiDevice);

    return [poOptions] {
        const auto ooPicture = ReadScreen(Board::Open(), poOptions->uiDevice, poOptions->uiOutput);
        if (!ooPicture)
            throw BoardError("output " + std::to_string(poOptions->uiOutput) + " is off: there is nothing to take");
        WriteSnapshot(*ooPicture, poOptions->strPath);
    };
}
}
