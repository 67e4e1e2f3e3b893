// A sloped line, drawn by code that may multiply and add in one step: compiled for a processor that has FMA.
#include "QelColor.h"
#include "QelSurfaceTyped.h"

namespace
{
// Known in this file only, so the linker cannot take another file's code for it.
struct Colour : QelColor<TPixelFormat_R8G8B8A8, unsigned int>
{
    using QelColor::operator=;
};

struct Rows : QelSurfaceTyped<Colour>
{
    explicit Rows(KUINT32* puiRows) : QelSurfaceTyped(nullptr, nullptr, nullptr, 0, 0, 0), puiNext(puiRows) {}
    void Dot(KUINT32, KUINT32 uiY) override { *puiNext++ = uiY; }

    KUINT32* puiNext;
};
}

void DrawFusedLine(KUINT32 uiY1, KUINT32 uiX2, KUINT32 uiY2, KUINT32* puiRows);

// Stores the row of each point, from column 0 to uiX2.
void DrawFusedLine(KUINT32 uiY1, KUINT32 uiX2, KUINT32 uiY2, KUINT32* puiRows)
{
    Rows oRows(puiRows);
    oRows.SetPos(0, uiY1);
    oRows.LineTo(uiX2, uiY2);
}
