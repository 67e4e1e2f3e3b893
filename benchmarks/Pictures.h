// The pictures that the benchmarks read, made by themselves: the same in every process.
#ifndef PICTURES_H
#define PICTURES_H

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <png.h>

#include "QelTypes.h"

// A folder with the pictures, made by the first process and shared with those that it starts.
class Pictures
{
public:
    static constexpr KUINT32 WIDTH = 1920, HEIGHT = 1080, FRAME_SIZE = 256, FRAMES = 24;

    Pictures()
    {
        const char* pszFolder = std::getenv(FOLDER_VARIABLE);
        m_bIsOwner            = pszFolder == nullptr;
        if (!m_bIsOwner)
        {
            m_sFolder = pszFolder;
            return;
        }
        char acTemplate[] = "/tmp/benchmark-XXXXXX";
        m_sFolder         = mkdtemp(acTemplate);
        setenv(FOLDER_VARIABLE, m_sFolder.c_str(), 1);
        Write("photograph", WIDTH, HEIGHT, 3, MakePhotograph());
        Write("flat", WIDTH, HEIGHT, 3, MakeFlat());
        for (KUINT32 i = 1; i <= FRAMES; ++i)
            Write(FrameName(i), FRAME_SIZE, FRAME_SIZE, 4, MakeFrame(FRAME_SIZE, i));
    }
    ~Pictures()
    {
        if (m_bIsOwner)
            std::filesystem::remove_all(m_sFolder);
    }
    Pictures(const Pictures&)            = delete;
    Pictures& operator=(const Pictures&) = delete;

    const std::string& GetFolder() const { return m_sFolder; }
    std::string        Path(const std::string& sName) const { return m_sFolder + "/" + sName + ".png"; }

    static std::string FrameName(KUINT32 uiNumber)
    {
        return "frame" + std::string(uiNumber < 10 ? "0" : "") + std::to_string(uiNumber);
    }

    // RGBA: a shaded ball that turns, soft at its edge and half transparent in its shadow, on nothing.
    static std::vector<KUINT8> MakeFrame(KUINT32 uiSize, KUINT32 uiNumber)
    {
        std::vector<KUINT8> aui;
        const double        dAngle = uiNumber * 2 * 3.14159265358979 / FRAMES;
        for (KUINT32 y = 0; y < uiSize; ++y)
        {
            for (KUINT32 x = 0; x < uiSize; ++x)
            {
                const double dX = 2. * x / uiSize - 1, dY = 2. * y / uiSize - 1;
                const double dRadius = std::sqrt(dX * dX + dY * dY);
                const double dLight  = 0.5 + 0.5 * (dX * std::cos(dAngle) + dY * std::sin(dAngle));
                const double dCover  = dRadius < 0.6 ? 1 : dRadius < 0.95 ? (0.95 - dRadius) / 0.35 : 0;
                for (const double d : {dLight, dLight * 0.7 + 0.1, 1 - dLight, dCover})
                    aui.push_back(static_cast<KUINT8>(std::clamp(d, 0., 1.) * 255));
            }
        }
        return aui;
    }

    // RGB: smooth light, structure of several sizes, and the noise of a sensor.
    static std::vector<KUINT8> MakePhotograph(KUINT32 uiWidth = WIDTH, KUINT32 uiHeight = HEIGHT)
    {
        std::vector<KUINT8> aui;
        std::mt19937        oRandom(1);
        for (KUINT32 y = 0; y < uiHeight; ++y)
        {
            for (KUINT32 x = 0; x < uiWidth; ++x)
            {
                const double dSky = 90 + 80. * y / uiHeight, dHill = 40 * std::sin(x / 210. + 2 * std::sin(y / 170.));
                const double dLeaf = 18 * std::sin(x / 7.) * std::sin(y / 5. + x / 31.);
                for (const double dTint : {0.9, 1., 1.2})
                {
                    const double dNoise = static_cast<int>(oRandom() % 7) - 3;
                    aui.push_back(static_cast<KUINT8>(std::clamp(dTint * (dSky + dHill + dLeaf) + dNoise, 0., 255.)));
                }
            }
        }
        return aui;
    }

    void Write(const std::string& sName, KUINT32 uiWidth, KUINT32 uiHeight, KUINT32 uiChannels,
               const std::vector<KUINT8>& rauiPixels) const
    {
        png_image oImage = {};
        oImage.version   = PNG_IMAGE_VERSION;
        oImage.width     = uiWidth;
        oImage.height    = uiHeight;
        oImage.format    = uiChannels == 4 ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
        if (png_image_write_to_file(&oImage, Path(sName).c_str(), 0, rauiPixels.data(), 0, nullptr) == 0)
            throw std::runtime_error(oImage.message);
    }

private:
    static constexpr const char* FOLDER_VARIABLE = "QEL_BENCHMARK_PICTURES";

    // RGB: areas of one colour each, as drawn backgrounds have them.
    static std::vector<KUINT8> MakeFlat()
    {
        std::vector<KUINT8> aui;
        for (KUINT32 y = 0; y < HEIGHT; ++y)
        {
            for (KUINT32 x = 0; x < WIDTH; ++x)
            {
                const bool bInPanel = x > 300 && x < 1620 && y > 200 && y < 880;
                const bool bInText  = bInPanel && y % 90 < 24 && x % 40 < 22 && (x / 40 * 7 + y / 90) % 5 != 0;
                for (const KUINT8 ui : {KUINT8{18}, KUINT8{32}, KUINT8{58}})
                    aui.push_back(static_cast<KUINT8>(bInText ? 230 : bInPanel ? ui + 30 : ui));
            }
        }
        return aui;
    }

    std::string m_sFolder;
    bool        m_bIsOwner;
};

#endif
