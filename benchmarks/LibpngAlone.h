// A PNG read by libpng and nothing else, with the transformations that the tool asks for.
#ifndef LIBPNG_ALONE_H
#define LIBPNG_ALONE_H

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include <png.h>

// Reads a whole picture into memory of its own, which is released again. The memory is the C library's, untouched before,
// for that is the least that any reader needs.
inline void ReadByLibpngAlone(const std::string& sPath)
{
    std::FILE*  poFile = std::fopen(sPath.c_str(), "rb");
    png_structp poPng  = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop   poInfo = png_create_info_struct(poPng);
    if (poFile == nullptr || poInfo == nullptr)
        throw std::runtime_error("cannot read " + sPath);
    if (setjmp(png_jmpbuf(poPng)) != 0)
        std::abort();

    png_init_io(poPng, poFile);
    png_read_info(poPng, poInfo);
    if (png_get_bit_depth(poPng, poInfo) < 8)
        png_set_packing(poPng);
    if (png_get_valid(poPng, poInfo, PNG_INFO_tRNS) != 0)
        png_set_tRNS_to_alpha(poPng);
    png_set_expand(poPng);
    png_set_gray_to_rgb(poPng);
    png_set_add_alpha(poPng, 0, PNG_FILLER_AFTER);
    png_set_interlace_handling(poPng);
    png_read_update_info(poPng, poInfo);

    const png_uint_32 uiHeight   = png_get_image_height(poPng, poInfo);
    const size_t      uiRowBytes = png_get_rowbytes(poPng, poInfo);
    auto*             puiPixels  = static_cast<png_bytep>(std::malloc(uiHeight * uiRowBytes));
    auto**            ppuiRows   = static_cast<png_bytepp>(std::malloc(uiHeight * sizeof(png_bytep)));
    for (png_uint_32 y = 0; y < uiHeight; ++y)
        ppuiRows[y] = puiPixels + y * uiRowBytes;
    png_read_image(poPng, ppuiRows);
    png_read_end(poPng, nullptr);

    std::free(ppuiRows);
    std::free(puiPixels);
    png_destroy_read_struct(&poPng, &poInfo, nullptr);
    std::fclose(poFile);
}

#endif
