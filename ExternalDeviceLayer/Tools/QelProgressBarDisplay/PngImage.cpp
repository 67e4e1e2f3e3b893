#include <algorithm>
#include <csetjmp>
#include <cstddef>
#include <new>

#include <png.h>

#include "PngAnimation.h"
#include "QelCheck.h"
#include "QelTools.h"

namespace
{
constexpr std::size_t BYTES_PER_PIXEL   = 4;
constexpr std::size_t MAX_DECODED_BYTES = std::size_t{256} << 20;

// A picture in memory: one block of pixels, and where its rows start in it.
struct SDecodedImage
{
    png_bytep   puiPixels;
    png_bytepp  ppuiRows;
    png_uint_32 uiHeight;
    std::size_t uiRowBytes;
};

KBOOL32 AllocateRows(SDecodedImage& roImage)
{
    if (roImage.uiRowBytes > MAX_DECODED_BYTES / roImage.uiHeight)
        return FALSE;

    roImage.puiPixels = new (std::nothrow) png_byte[roImage.uiRowBytes * roImage.uiHeight];
    roImage.ppuiRows  = new (std::nothrow) png_bytep[roImage.uiHeight];
    if (roImage.puiPixels == nullptr || roImage.ppuiRows == nullptr)
        return FALSE;

    for (png_uint_32 y = 0; y < roImage.uiHeight; ++y)
        roImage.ppuiRows[y] = roImage.puiPixels + y * roImage.uiRowBytes;
    return TRUE;
}

// Whatever the file holds arrives as 4 bytes a pixel: red, green, blue, alpha.
void RequestRgba(png_structp poPng, png_infop poInfo)
{
    const png_byte uiBitDepth = png_get_bit_depth(poPng, poInfo);

    if (uiBitDepth < 8)
        png_set_packing(poPng);
    if (uiBitDepth > 8)
        png_set_scale_16(poPng);
    if (png_get_valid(poPng, poInfo, PNG_INFO_tRNS) != 0)
        png_set_tRNS_to_alpha(poPng);

    png_set_expand(poPng);
    png_set_gray_to_rgb(poPng);
    png_set_add_alpha(poPng, 0, PNG_FILLER_AFTER);
    png_set_interlace_handling(poPng);
    png_read_update_info(poPng, poInfo);
}

// Reads the picture to its very end into memory that the caller releases, on every result. libpng reports an error by a
// jump back to the start of this function: nothing that has a destructor may live in it.
KBOOL32 DecodeImage(png_structp poPng, png_infop poInfo, std::FILE* poPngFile, KUINT32 uiWidth, KUINT32 uiHeight,
                    SDecodedImage& roImage)
{
    if (setjmp(png_jmpbuf(poPng)) != 0)
        return FALSE;

    png_init_io(poPng, poPngFile);
    png_set_crc_action(poPng, PNG_CRC_ERROR_QUIT, PNG_CRC_ERROR_QUIT);  // transparency that is lost is damage as well
    png_read_info(poPng, poInfo);

    const png_uint_32 uiImageWidth  = png_get_image_width(poPng, poInfo);
    const png_uint_32 uiImageHeight = png_get_image_height(poPng, poInfo);
    if (uiImageWidth != uiWidth || uiImageHeight != uiHeight)
    {
        std::printf("Supplied PNG %dx%d doens't match resolution %dx%d", static_cast<KINT32>(uiImageWidth),
                    static_cast<KINT32>(uiImageHeight), static_cast<KINT32>(uiWidth), static_cast<KINT32>(uiHeight));
        std::fflush(stdout);  // no line end pushes it out, and the signal handler's line must not overtake it
    }

    RequestRgba(poPng, poInfo);
    roImage.uiHeight   = uiImageHeight;
    roImage.uiRowBytes = png_get_rowbytes(poPng, poInfo);
    if (!AllocateRows(roImage))
        return FALSE;

    png_read_image(poPng, roImage.ppuiRows);
    png_read_end(poPng, nullptr);
    return TRUE;
}

void CopyOverlap(const SDecodedImage& roImage, KUINT32 uiWidth, KUINT32 uiPitchInBytes, KUINT32 uiHeight,
                 KUINT8* puiARGBData)
{
    const std::size_t uiTargetRowBytes = std::min<std::size_t>(uiWidth * BYTES_PER_PIXEL, uiPitchInBytes);
    const auto        uiCopiedBytes    = static_cast<KUINT32>(std::min(roImage.uiRowBytes, uiTargetRowBytes));
    const KUINT32     uiCopiedRows     = std::min<KUINT32>(roImage.uiHeight, uiHeight);

    for (KUINT32 y = 0; y < uiCopiedRows; ++y)
        QelTools_memcpy(puiARGBData + std::size_t{y} * uiPitchInBytes, roImage.ppuiRows[y], uiCopiedBytes);
}
}

KBOOL32 LoadImage(std::FILE* poPngFile, KUINT32 uiWidth, KUINT32 uiPitchInBytes, KUINT32 uiHeight, KUINT8* puiARGBData)
{
    KBOOL32       bLoaded = FALSE;
    png_infop     poInfo  = nullptr;
    SDecodedImage oImage  = {};
    png_structp   poPng   = png_create_read_struct("1.6.37", nullptr, nullptr, nullptr);

    QEL_CHECK_OR_ABORT(poPng != nullptr);
    poInfo = png_create_info_struct(poPng);
    QEL_CHECK_OR_ABORT(poInfo != nullptr);
    QEL_CHECK_OR_ABORT(poPngFile != nullptr);
    QEL_CHECK_OR_ABORT(puiARGBData != nullptr);

    bLoaded = DecodeImage(poPng, poInfo, poPngFile, uiWidth, uiHeight, oImage);
    if (bLoaded)
        CopyOverlap(oImage, uiWidth, uiPitchInBytes, uiHeight, puiARGBData);

Qel_Abort:
    delete[] oImage.ppuiRows;
    delete[] oImage.puiPixels;
    if (poInfo != nullptr)
        png_destroy_info_struct(poPng, &poInfo);
    if (poPng != nullptr)
        png_destroy_read_struct(&poPng, nullptr, nullptr);
    return bLoaded;
}
