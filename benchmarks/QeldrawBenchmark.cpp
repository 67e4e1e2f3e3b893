// How fast surfaces are filled and shapes drawn, beside memset, pixman, std::fill_n and hand-written loops of the same Dot
// calls.
#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include <pixman.h>

#include "BenchmarkTable.h"
#include "QelColor.h"
#include "QelSurfaceTyped.h"

namespace
{
using Surface = QelSurfaceTyped<QelColor<TPixelFormat_R8G8B8A8, unsigned int>>;

constexpr KUINT32 WIDTH = 3840, HEIGHT = 2160, PITCH = 3904;

std::vector<KUINT32> g_oPixels(PITCH* HEIGHT);

// Made out of sight, as the callers of a surface get it: they know the base class only.
[[gnu::noinline]] std::unique_ptr<QelSurface> MakeSurface()
{
    const KUINTPTR uiData = reinterpret_cast<KUINTPTR>(g_oPixels.data());
    return std::make_unique<Surface>(&uiData, &PITCH, nullptr, WIDTH, HEIGHT, 1u);
}

struct Area
{
    KINT32 iLeft, iTop, iRight, iBottom;

    void Draw(QelSurface& ro) const { ro.Rectangle(iLeft, iTop, iRight, iBottom); }
};

// A byte other than 0 for a colour: there are processors that write zeros faster.
void MemsetRows(Area oArea, int iByte)
{
    for (KINT32 y = oArea.iTop; y < oArea.iBottom; ++y)
        std::memset(&g_oPixels[KUINT32(y) * PITCH + KUINT32(oArea.iLeft)], iByte, 4 * size_t(oArea.iRight - oArea.iLeft));
}

void FillRows(Area oArea, KUINT32 uiValue)
{
    for (KINT32 y = oArea.iTop; y < oArea.iBottom; ++y)
        std::fill_n(&g_oPixels[KUINT32(y) * PITCH + KUINT32(oArea.iLeft)], oArea.iRight - oArea.iLeft, uiValue);
}

void PixmanFill(Area oArea, KUINT32 uiValue)
{
    pixman_fill(g_oPixels.data(), PITCH, 32, oArea.iLeft, oArea.iTop, oArea.iRight - oArea.iLeft, oArea.iBottom - oArea.iTop,
                uiValue);
}

// The shapes as one would write them down beside a surface, point by point. Like ours they do not know their arguments.
[[gnu::noipa]] void PlainLine(QelSurface& ro, KINT32 x1, KINT32 y1, KINT32 x2, KINT32 y2)
{
    if (x1 == x2)
    {
        for (KINT32 y = y1; y <= y2; ++y)
            ro.Dot(KUINT32(x1), KUINT32(y));
        return;
    }
    const float fSlope = float(y2 - y1) / float(x2 - x1);
    for (KINT32 x = x1; x <= x2; ++x)
        ro.Dot(KUINT32(x), y1 == y2 ? KUINT32(y1) : KUINT32(KINT32(float(x - x1) * fSlope + float(y1))));
}

[[gnu::noipa]] void PlainCircle(QelSurface& ro, KUINT32 xc, KUINT32 yc, KINT32 iRadius)
{
    for (KINT32 ix = iRadius, iy = 0, iError = 1 - ix; ix >= iy;)
    {
        const KUINT32 x = KUINT32(ix), y = KUINT32(iy);
        ro.Dot(xc + x, yc + y), ro.Dot(xc + y, yc + x), ro.Dot(xc - x, yc + y), ro.Dot(xc - y, yc + x);
        ro.Dot(xc - x, yc - y), ro.Dot(xc - y, yc - x), ro.Dot(xc + x, yc - y), ro.Dot(xc + y, yc - x);
        ++iy;
        iError += iError < 0 ? 2 * iy + 1 : 2 * (iy - --ix) + 1;
    }
}

[[gnu::noipa]] void PlainDisc(QelSurface& ro, KUINT32 x0, KUINT32 y0, KINT32 d)
{
    const KINT32 iRay = 2 * d;
    KINT32       ix = d % 2 != 0 ? iRay : iRay - 2, iy = 2;
    for (;; iy += 4)
    {
        for (; iRay * iRay >= (iRay - ix) * (iRay - ix) + (iRay - iy) * (iRay - iy); ix -= 4)
        {}
        if (iy > ix)
            break;
        for (KINT32 i = ix / 4 + 1; i < d - ix / 4 - 1; ++i)
        {
            const KUINT32 u = KUINT32(i), y = KUINT32(iy / 4), uiMirror = KUINT32(d - 1 - iy / 4);
            ro.Dot(x0 + u, y0 + y), ro.Dot(x0 + u, y0 + uiMirror);
            ro.Dot(x0 + y, y0 + u), ro.Dot(x0 + uiMirror, y0 + u);
        }
    }
    for (KINT32 r = iy / 4; r < d - iy / 4; ++r)
    {
        for (KINT32 c = iy / 4; c < d - iy / 4; ++c)
            ro.Dot(x0 + KUINT32(c), y0 + KUINT32(r));
    }
}
}

int main(int iArguments, char** ppszArguments)
{
    const std::unique_ptr<QelSurface> poOwner   = MakeSurface();
    QelSurface&                       roSurface = *poOwner;
    BenchmarkTable                    oTable(iArguments, ppszArguments);

    const Area oAll = {0, 0, WIDTH, HEIGHT}, oLarge = {101, 51, 3739, 2109}, oStrip = {300, 200, 326, 264};
    for (const KUINT16 uiBlue : {KUINT16{0}, KUINT16{200}})
    {
        roSurface.SetBgColourFromARGB(0, 0, 0, uiBlue);
        roSurface.SetFgColorFromARGB(0, 0, 0, uiBlue);
        const KUINT32     uiValue = KUINT32{uiBlue} << 16;
        const std::string sColour = uiBlue == 0 ? ", black" : ", a colour";
        const auto        Clr     = [&] { roSurface.Clr(); };
        const auto        Large   = [&] { oLarge.Draw(roSurface); };
        oTable.Compare("Clr 3840x2160" + sColour, "memset", SpeedAtLeast(0.95), Clr, [&] { MemsetRows(oAll, uiBlue); });
        oTable.Compare("Clr 3840x2160" + sColour, "pixman_fill", SpeedAtLeast(1), Clr, [&] { PixmanFill(oAll, uiValue); });
        oTable.Compare("Rectangle 3638x2058" + sColour, "memset", SpeedAtLeast(0.95), Large,
                       [&] { MemsetRows(oLarge, uiBlue); });
        oTable.Compare("Rectangle 3638x2058" + sColour, "pixman_fill", SpeedAtLeast(1), Large,
                       [&] { PixmanFill(oLarge, uiValue); });
        oTable.Compare(
            "Rectangle 26x64 (5 % of 512x64)" + sColour, "std::fill_n", SpeedAtLeast(0.9), [&] { oStrip.Draw(roSurface); },
            [&] { FillRows(oStrip, uiValue); });
    }

    struct Shape
    {
        const char* szWhat;
        void (*pfnDraw)(QelSurface&);
        void (*pfnPlain)(QelSurface&);
    };
    const Shape aoShapes[] = {
        {"LineTo across, 3840 points", [](QelSurface& ro) { ro.SetPos(0, 9), ro.LineTo(3839, 9); },
         [](QelSurface& ro) { PlainLine(ro, 0, 9, 3839, 9); }},
        {"LineTo down, 2160 points", [](QelSurface& ro) { ro.SetPos(9, 0), ro.LineTo(9, 2159); },
         [](QelSurface& ro) { PlainLine(ro, 9, 0, 9, 2159); }},
        {"LineTo sloped, 3840 points", [](QelSurface& ro) { ro.SetPos(0, 0), ro.LineTo(3839, 2159); },
         [](QelSurface& ro) { PlainLine(ro, 0, 0, 3839, 2159); }},
        {"Circle of 1000", [](QelSurface& ro) { ro.Circle(999, 999, 1000); },
         [](QelSurface& ro) { PlainCircle(ro, 999, 999, 500); }},
        {"FilledCircle of 20", [](QelSurface& ro) { ro.FilledCircle(999, 999, 20); },
         [](QelSurface& ro) { PlainDisc(ro, 989, 989, 20); }},
        {"FilledCircle of 1000", [](QelSurface& ro) { ro.FilledCircle(999, 999, 1000); },
         [](QelSurface& ro) { PlainDisc(ro, 499, 499, 1000); }},
    };
    for (const Shape& roShape : aoShapes)
    {
        oTable.Compare(
            roShape.szWhat, "the same Dot calls", SpeedAtLeast(0.9), [&] { roShape.pfnDraw(roSurface); },
            [&] { roShape.pfnPlain(roSurface); });
    }
    return 0;
}
