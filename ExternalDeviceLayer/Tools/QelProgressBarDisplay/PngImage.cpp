#include "PngImage.h"

#include <algorithm>
#include <csetjmp>
#include <cstddef>
#include <new>

#include <png.h>

#include "LargePages.h"
#include "PixelWord.h"
#include "QelCheck.h"
#include "QelTools.h"

namespace
{
constexpr size_t BYTES_PER_PIXEL   = 4;
constexpr size_t MAX_DECODED_BYTES = size_t{256} << 20;

// A picture in memory: one block of pixels, and where its rows start in it.
struct SDecodedImage
{
    png_bytep   puiPixels;
    png_bytep   puiFirstRow;
    png_bytepp  ppuiRows;
    png_uint_32 uiHeight;
    size_t      uiRowBytes;
    KUINT32     uiChannels;  // bytes a pixel: 4, or 3 without alpha
};

KBOOL32 AllocateRows(SDecodedImage& roImage)
{
    if (roImage.uiRowBytes > MAX_DECODED_BYTES / roImage.uiHeight)
        return FALSE;

    const size_t uiBytes = roImage.uiRowBytes * roImage.uiHeight;

    roImage.puiPixels = new (std::nothrow) png_byte[RoomOnLargePages(uiBytes)];
    roImage.ppuiRows  = new (std::nothrow) png_bytep[roImage.uiHeight];
    if (roImage.puiPixels == nullptr || roImage.ppuiRows == nullptr)
        return FALSE;

    roImage.puiFirstRow = PutOnLargePages(roImage.puiPixels, uiBytes);
    for (png_uint_32 y = 0; y < roImage.uiHeight; ++y)
        roImage.ppuiRows[y] = roImage.puiFirstRow + y * roImage.uiRowBytes;
    return TRUE;
}

// Whatever the file holds arrives as red, green, blue and alpha of a byte each; only what is plain red, green, blue in the
// file stays so, and gets its alpha of 0 on the way to the target: three quarters of the memory, and one pass less over it.
void RequestRgba(png_structp poPng, png_infop poInfo)
{
    const png_byte uiBitDepth    = png_get_bit_depth(poPng, poInfo);
    const bool     bTransparency = png_get_valid(poPng, poInfo, PNG_INFO_tRNS) != 0;

    if (uiBitDepth < 8)
        png_set_packing(poPng);
    if (uiBitDepth > 8)
        png_set_scale_16(poPng);
    if (bTransparency)
        png_set_tRNS_to_alpha(poPng);

    png_set_expand(poPng);
    png_set_gray_to_rgb(poPng);
    if (uiBitDepth != 8 || png_get_color_type(poPng, poInfo) != PNG_COLOR_TYPE_RGB || bTransparency)
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
    // Chunks that change no pixel are skipped unread: they may be large, and libpng's warnings would quote them.
    png_set_keep_unknown_chunks(poPng, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
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
    roImage.uiChannels = png_get_channels(poPng, poInfo);
    if (!AllocateRows(roImage))
        return FALSE;

    png_read_image(poPng, roImage.ppuiRows);
    png_read_end(poPng, nullptr);
    return TRUE;
}

// A word that starts with the pixel is read and cut, so that the last pixel of a row, behind which nothing may lie, is not.
void CopyWithoutAlpha(KUINT8* puiTarget, const KUINT8* puiSource, size_t uiPixels)
{
    for (; uiPixels > 1; --uiPixels, puiTarget += BYTES_PER_PIXEL, puiSource += BYTES_PER_PIXEL - 1)
        WritePixelWord(puiTarget, ReadPixelWord(puiSource) & 0x00FFFFFFu);
    if (uiPixels == 1)
    {
        QelTools_memcpy(puiTarget, puiSource, BYTES_PER_PIXEL - 1);
        puiTarget[BYTES_PER_PIXEL - 1] = 0;
    }
}

void CopyOverlap(const SDecodedImage& roImage, KUINT32 uiWidth, KUINT32 uiPitchInBytes, KUINT32 uiHeight,
                 KUINT8* puiARGBData)
{
    const size_t  uiTargetPixels = std::min<size_t>(uiWidth, uiPitchInBytes / BYTES_PER_PIXEL);
    const size_t  uiCopiedPixels = std::min(roImage.uiRowBytes / roImage.uiChannels, uiTargetPixels);
    const KUINT32 uiCopiedRows   = std::min<KUINT32>(roImage.uiHeight, uiHeight);

    for (KUINT32 y = 0; y < uiCopiedRows; ++y)
    {
        KUINT8* puiTarget = puiARGBData + size_t{y} * uiPitchInBytes;
        if (roImage.uiChannels == BYTES_PER_PIXEL)
            QelTools_memcpy(puiTarget, roImage.ppuiRows[y], static_cast<KUINT32>(uiCopiedPixels * BYTES_PER_PIXEL));
        else
            CopyWithoutAlpha(puiTarget, roImage.ppuiRows[y], uiCopiedPixels);
    }
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
    if (oImage.puiFirstRow != nullptr)
        TakeOffLargePages(oImage.puiFirstRow, oImage.uiRowBytes * oImage.uiHeight);
    delete[] oImage.ppuiRows;
    delete[] oImage.puiPixels;
    if (poInfo != nullptr)
        png_destroy_info_struct(poPng, &poInfo);
    if (poPng != nullptr)
        png_destroy_read_struct(&poPng, nullptr, nullptr);
    return bLoaded;
}
