// Writes PNG files of every kind.
#ifndef PNG_FILE_H
#define PNG_FILE_H

#include <png.h>
#include <zlib.h>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

struct SPngKind
{
    int  iBitDepth    = 8;
    int  iColorType   = PNG_COLOR_TYPE_RGBA;
    bool bInterlaced  = false;
    bool bTransparent = false;  // palette entry 0 or the colour 0
};

// Writes rows as the kind stores them. They are taken from auiRows one after the other, and from its start again at its end.
// Entry i of a palette is the colour (i, 2i, 3i).
inline void WritePng(const std::string& sPath, png_uint_32 uiWidth, png_uint_32 uiHeight, const SPngKind& roKind,
                     const std::vector<png_byte>& auiRows)
{
    std::FILE*  poFile = std::fopen(sPath.c_str(), "wb");
    png_structp poPng  = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop   poInfo = png_create_info_struct(poPng);
    if (poFile == nullptr || poInfo == nullptr) throw std::runtime_error("cannot write " + sPath);

    png_init_io(poPng, poFile);
    png_set_IHDR(poPng, poInfo, uiWidth, uiHeight, roKind.iBitDepth, roKind.iColorType,
                 roKind.bInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (roKind.iColorType == PNG_COLOR_TYPE_PALETTE)
    {
        std::vector<png_color> aoPalette(size_t{1} << roKind.iBitDepth);
        for (size_t i = 0; i < aoPalette.size(); ++i)
            aoPalette[i] = {static_cast<png_byte>(i), static_cast<png_byte>(2 * i), static_cast<png_byte>(3 * i)};
        png_set_PLTE(poPng, poInfo, aoPalette.data(), static_cast<int>(aoPalette.size()));
    }
    if (roKind.bTransparent)
    {
        const png_byte uiAlpha = 0;
        png_color_16   oColor  = {};
        png_set_tRNS(poPng, poInfo, &uiAlpha, 1, &oColor);
    }
    png_write_info(poPng, poInfo);

    const size_t           uiRowBytes = png_get_rowbytes(poPng, poInfo);
    std::vector<png_bytep> apuiRows;
    for (png_uint_32 y = 0; y < uiHeight; ++y)
        apuiRows.push_back(const_cast<png_bytep>(auiRows.data()) + y * uiRowBytes % auiRows.size());
    png_write_image(poPng, apuiRows.data());
    png_write_end(poPng, nullptr);
    png_destroy_write_struct(&poPng, &poInfo);
    std::fclose(poFile);
}

// Corrects the checksum of every chunk, so that damage in a chunk gets past it.
inline void MendSums(std::vector<png_byte>& rauiFile)
{
    for (size_t i = 8; i + 12 <= rauiFile.size();)
    {
        const size_t uiLength = png_get_uint_32(&rauiFile[i]);
        if (uiLength > rauiFile.size() - i - 12) break;
        png_save_uint_32(&rauiFile[i + 8 + uiLength],
                         static_cast<png_uint_32>(crc32(0, &rauiFile[i + 4], static_cast<uInt>(uiLength + 4))));
        i += 12 + uiLength;
    }
}

#endif
