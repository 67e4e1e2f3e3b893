// Is a snapshot of the demo the picture that it should be? Computes it anew from the demo's sources: the background, one of
// the frames over it, and the bar at one of the percentages that it may show. Exit status 0 when one fits exactly.
//
//   PictureCheck DEMO_FOLDER SNAPSHOT.png PERCENT
#include <png.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{
constexpr unsigned WIDTH = 1024, HEIGHT = 768;
constexpr unsigned FRAME_LEFT = 448, FRAME_TOP = 216, FRAME_SIDE = 128, FRAMES = 24;
constexpr unsigned BAR_LEFT = 192, BAR_TOP = 560, BAR_RIGHT = 832, BAR_BOTTOM = 584;
constexpr unsigned STEP_PCT = 2;  // the demo's update advances by so much

using Pixels = std::vector<png_byte>;

Pixels ReadPng(const std::string& sPath, png_uint_32 uiFormat, unsigned uiWidth, unsigned uiHeight)
{
    png_image oImage = {};
    oImage.version   = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&oImage, sPath.c_str()) || oImage.width != uiWidth || oImage.height != uiHeight)
    {
        std::fprintf(stderr, "%s: %s\n", sPath.c_str(), oImage.message[0] != '\0' ? oImage.message : "is of another size");
        std::exit(1);
    }
    oImage.format = uiFormat;
    Pixels auiPixels(PNG_IMAGE_SIZE(oImage));
    if (!png_image_finish_read(&oImage, nullptr, auiPixels.data(), 0, nullptr))
    {
        std::fprintf(stderr, "%s: %s\n", sPath.c_str(), oImage.message);
        std::exit(1);
    }
    return auiPixels;
}

// Puts the frame over the background, where it plays.
void PutFrame(Pixels& rauiPicture, const Pixels& auiBackground, const Pixels& auiFrame)
{
    for (unsigned y = 0; y < FRAME_SIDE; ++y)
    {
        for (unsigned x = 0; x < FRAME_SIDE; ++x)
        {
            const png_byte* puiFrame = &auiFrame[4 * (y * FRAME_SIDE + x)];
            const size_t    i        = 3 * ((FRAME_TOP + y) * WIDTH + FRAME_LEFT + x);
            for (unsigned c = 0; c < 3; ++c)
                rauiPicture[i + c] =
                    static_cast<png_byte>((puiFrame[c] * puiFrame[3] + auiBackground[i + c] * (255 - puiFrame[3])) / 255);
        }
    }
}

void PutBar(Pixels& rauiPicture, unsigned uiPct)
{
    for (unsigned y = BAR_TOP; y <= BAR_BOTTOM; ++y)
    {
        for (unsigned x = BAR_LEFT; x <= BAR_RIGHT; ++x)
        {
            const bool bOutline = x == BAR_LEFT || x == BAR_RIGHT || y == BAR_TOP || y == BAR_BOTTOM;
            const bool bFilled  = x < BAR_LEFT + (BAR_RIGHT - BAR_LEFT) * uiPct / 100;
            for (unsigned c = 0; c < 3; ++c)
                rauiPicture[3 * (y * WIDTH + x) + c] = bOutline || bFilled ? 255 : 0;
        }
    }
}
}

int main(int argc, char** argv)
{
    if (argc != 4)
    {
        std::fprintf(stderr, "Usage: PictureCheck DEMO_FOLDER SNAPSHOT.png PERCENT\n");
        return 2;
    }
    const std::string sDemo         = argv[1];
    const unsigned    uiPct         = static_cast<unsigned>(std::atoi(argv[3]));
    const Pixels      auiSnapshot   = ReadPng(argv[2], PNG_FORMAT_RGB, WIDTH, HEIGHT);
    const Pixels      auiBackground = ReadPng(sDemo + "/background.png", PNG_FORMAT_RGB, WIDTH, HEIGHT);

    // A step of the tool may be late: the bar may still show what the register held just before. Not so once it ended.
    const unsigned uiLeastPct = uiPct < 100 && uiPct >= STEP_PCT ? uiPct - STEP_PCT : uiPct;
    for (unsigned uiFrame = 1; uiFrame <= FRAMES; ++uiFrame)
    {
        char acName[32];
        std::snprintf(acName, sizeof(acName), "/frame%02u.png", uiFrame);
        Pixels auiPicture = auiBackground;
        PutFrame(auiPicture, auiBackground, ReadPng(sDemo + acName, PNG_FORMAT_RGBA, FRAME_SIDE, FRAME_SIDE));
        for (unsigned uiShown = uiLeastPct; uiShown <= uiPct; ++uiShown)
        {
            PutBar(auiPicture, uiShown);
            if (auiPicture == auiSnapshot)
            {
                std::printf("%s: frame %u, %u %%\n", argv[2], uiFrame, uiShown);
                return 0;
            }
        }
    }
    std::fprintf(stderr, "%s is no picture of the demo at %u %%\n", argv[2], uiPct);
    return 1;
}
