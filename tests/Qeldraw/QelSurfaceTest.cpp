#include <set>

#include "QelColor.h"
#include "QelSurfaceTyped.h"
#include "TestSupport.h"

namespace
{
using Colour = QelColor<TPixelFormat_R8G8B8A8, unsigned int>;
using Point  = std::pair<KUINT32, KUINT32>;
using Points = std::vector<Point>;

constexpr KUINT32 WIDTH = 40, HEIGHT = 30, PITCH = 47, GUARD = 5 * PITCH, INK = 0x04030201, BLANK = 0xDEADBEEF, ZERO = 0;
constexpr size_t  ENOUGH = 100000;

// A small picture in padding and guards. Its surface notes each point that goes through Dot, up to a number of them.
struct Picture : QelSurfaceTyped<Colour>
{
    explicit Picture(KUINT32 uiNbPlanes = 1) : QelSurfaceTyped(nullptr, &PITCH, nullptr, WIDTH, HEIGHT, uiNbPlanes)
    {
        m_apuiSurfaceData[0] = reinterpret_cast<KUINTPTR>(&oMemory[GUARD]);
        m_oFgColour          = INK;
    }

    void Dot(KUINT32 uiX, KUINT32 uiY) override
    {
        oPoints.size() == ENOUGH ? throw ENOUGH : oPoints.emplace_back(uiX, uiY);
        if (uiX < WIDTH && uiY < HEIGHT) oExpected[GUARD + uiY * PITCH + uiX] = INK;
        QelSurfaceTyped::Dot(uiX, uiY);
    }

    // The points since the last time. The memory holds exactly those so far, and the position is where it should be.
    Points Take(Point oPosition)
    {
        EXPECT_EQ(oPosition, Point(m_uiCurrentXPos, m_uiCurrentYPos));
        EXPECT_TRUE(AreRows(oMemory, oExpected, PITCH));
        return std::exchange(oPoints, {});
    }

    std::vector<KUINT32> oMemory = std::vector<KUINT32>(2 * GUARD + PITCH * HEIGHT, BLANK), oExpected = oMemory;
    Points               oPoints;
};
}

TEST(QelSurface, LinesSetOnePointAColumnFromTheLeftAndCutRows)
{
    // clang-format off
    const std::tuple<Point, Point, Points> aoCases[] = {
        {{5, 5}, {5, 5}, {{5, 5}}}, {{5, 5}, {5, 2}, {{5, 2}, {5, 3}, {5, 4}, {5, 5}}},
        {{2, 0}, {6, 2}, {{2, 0}, {3, 0}, {4, 1}, {5, 1}, {6, 2}}}, {{2, 10}, {0, 0}, {{0, 0}, {1, 5}, {2, 10}}},
        {{0, 5}, {3, 1}, {{0, 5}, {1, 3}, {2, 2}, {3, 1}}},  // row 0 if the product is not rounded before the sum
        {{3, 1}, {3, ZERO - 2}, {{3, ZERO - 2}, {3, ZERO - 1}, {3, 0}, {3, 1}}},
        {{1, ZERO - 4}, {4, 2}, {{1, ZERO - 4}, {2, ZERO - 2}, {3, 0}, {4, 2}}},
        {{0, ZERO - 1}, {2, 0}, {{0, ZERO - 1}, {1, 0}, {2, 0}}},  // half a row above row 0 is cut to it
        {{7, 0x7FFFFFFE}, {7, 0x7FFFFFFF}, {{7, 0x7FFFFFFE}, {7, 0x7FFFFFFF}}},
        {{0x7FFFFFFF, 8}, {0x7FFFFFFE, 8}, {{0x7FFFFFFE, 8}, {0x7FFFFFFF, 8}}},
        {{0x7FFFFFFF, 4}, {0x7FFFFFFE, 0}, {{0x7FFFFFFE, 0}, {0x7FFFFFFF, 4}}},
        {{2, 0x80000000}, {3, 0}, {{2, 0x80000000}, {3, 0}}},  // the difference of the rows wraps
        {{ZERO - 3, 5}, {3, 5}, {}}, {{ZERO - 3, 5}, {3, 9}, {}},  // no column lies between 3 and one that wrapped
        {{0, 7}, {11, 59}, {{0, 7}, {1, 11}, {2, 16}, {3, 21}, {4, 25}, {5, 30}, {6, 35}, {7, 40}, {8, 44}, {9, 49},
                            {10, 54}, {11, 58}}},  // in single precision the slope falls just short of the end
    };  // clang-format on
    Picture oPicture;
    for (const auto& [oFrom, oTo, oWant] : aoCases)
    {
        oPicture.SetPos(oFrom.first, oFrom.second);
        oPicture.LineTo(oTo.first, oTo.second);
        EXPECT_EQ(oPicture.Take(oTo), oWant) << testing::PrintToString(oFrom) << " to " << testing::PrintToString(oTo);
    }
}

TEST(QelSurface, CirclesSetTheirPointsInOrderAndClipAtEveryEdge)
{
    for (KUINT32 d = 0; d < 90; ++d)
    {
        Picture     oPicture;
        const Point oCentre = std::vector<Point>{{20, 15}, {0, 0}, {39, 29}, {ZERO - 4, 31}}[d / 2 % 4];
        const auto [x, y]   = oCentre;

        // The outline: one column inwards per row, where the squares say so, with no running error.
        Points oWant;
        for (KUINT32 r = d / 2, a = r, b = 0; a >= b && a <= r; ++b)
        {
            oWant.insert(oWant.end(), {{x + a, y + b}, {x + b, y + a}, {x - a, y + b}, {x - b, y + a}});
            oWant.insert(oWant.end(), {{x - a, y - b}, {x - b, y - a}, {x + a, y - b}, {x + b, y - a}});
            a -= (b + 1) * (b + 1) + a * a - a >= r * r;
        }
        oPicture.Circle(x, y, d);
        EXPECT_EQ(oPicture.Take(oCentre), oWant) << d;

        // The disc: each pixel of the box whose centre lies inside or on the circle, once.
        std::multiset<Point> oDisc;
        for (KINT32 i = 0, n = KINT32(d); i < n * n; ++i)
        {
            const KINT32 dx = 2 * (i % n) + 1 - n, dy = 2 * (i / n) + 1 - n;
            if (dx * dx + dy * dy <= n * n) oDisc.emplace(x - d / 2 + KUINT32(i % n), y - d / 2 + KUINT32(i / n));
        }
        oPicture.FilledCircle(x, y, d);
        const Points oSet = oPicture.Take(oCentre);
        EXPECT_EQ(std::multiset<Point>(oSet.begin(), oSet.end()), oDisc) << d;
    }
    Picture oPicture;
    // The widest that can be asked for: no square overflows on the way.
    EXPECT_THROW(oPicture.Circle(1, 2, 0xFFFFFFFF), size_t);
    EXPECT_EQ(oPicture.Take({0, 0})[2], Point(0x80000002, 2));
    EXPECT_THROW(oPicture.FilledCircle(1, 2, 0xFFFFFFFF), size_t);
    EXPECT_EQ(oPicture.Take({0, 0})[0], Point(ZERO + 1 - 46340, ZERO + 2 - 0x7FFFFFFF));  // the root of d / 2
}

// Against a plain loop: short and long rows, at every alignment, also where a pitch of -900 makes the index wrap.
template <typename FillColour, typename Word> void CheckFill(std::mt19937& roRandom)
{
    const auto        Below    = [&](KINT32 iEnd) { return std::uniform_int_distribution<KINT32>(0, iEnd - 1)(roRandom); };
    const bool        bUpwards = Below(4) == 0, bClr = !bUpwards && Below(3) == 0;
    const KUINT32     uiPitch = bUpwards ? ZERO - 900 : KUINT32(Below(2700));
    const KINT32      iLeft = bClr ? 0 : Below(30), iRight = Below(Below(3) == 0 ? 50 : 2600);
    const KINT32      iTop = bUpwards ? -1 - Below(4) : bClr ? 0 : Below(2), iBottom = bUpwards ? 1 : Below(4);
    std::vector<Word> oMemory(12000), oWant(12000);
    const KUINTPTR    uiData  = reinterpret_cast<KUINTPTR>(oMemory.data());
    const FillColour  oColour = static_cast<Word>(Below(5) == 0 ? 0x01010101 * Below(128) : Below(0x7FFFFFFF));

    QelSurfaceTyped<FillColour> oSurface(&uiData, &uiPitch, nullptr, KUINT32(iRight), KUINT32(iBottom), 1);
    (bClr ? oSurface.m_oBgColour : oSurface.m_oFgColour) = oColour;
    bClr ? oSurface.Clr() : oSurface.Rectangle(iLeft, iTop, iRight, iBottom);
    for (KINT32 i = 0, n = iRight - iLeft; n > 0 && i < n * (iBottom - iTop); ++i)
        oWant[KUINT32(iTop + i / n) * uiPitch + KUINT32(iLeft + i % n)] = oColour.m_uiColorValue;
    ASSERT_TRUE(AreRows(oMemory, oWant, 100)) << iLeft << ' ' << iTop << ' ' << iRight << ' ' << iBottom << ' ' << uiPitch;
}

TEST(QelSurface, FillsLeaveExactlyTheirPixels)
{
    std::mt19937 oRandom(3);
    for (int i = 0; i < 2000; ++i)
    {
        CheckFill<Colour, KUINT32>(oRandom);
        CheckFill<QelColor<TPixelFormat_B5G6R5, KUINT16>, KUINT16>(oRandom);
    }
}

TEST(QelSurface, ThreePlanesAreCopiedAndWithoutAnAddressNothingIsDrawn)
{
    const KUINTPTR                auiData[]  = {0x10, 0x20, 0x30, 0x40, 0x50};
    const KUINT32                 auiPitch[] = {1, 2, 3, 4, 5};
    const QelSurfaceTyped<Colour> oFive(auiData, nullptr, auiPitch, 6, 7, 5), oTwo(auiData, auiPitch, nullptr, 6, 7, 2);
    EXPECT_EQ(std::tuple(oFive.GetSurfaceData(2), oFive.GetSurfaceData(3), oFive.GetPitchPixels(2)), std::tuple(0x30, 0, 0));
    EXPECT_EQ(std::tuple(oFive.m_uiPitchInBytes[2], oFive.GetWidth(), oFive.GetHeight()), std::tuple(3, 6, 7));
    EXPECT_EQ(std::pair(oTwo.m_apuiSurfaceData[1], oTwo.m_apuiSurfaceData[2]), std::pair(KUINTPTR{0x20}, KUINTPTR{0}));
    EXPECT_EQ(std::pair(oTwo.GetPitchPixels(1), oTwo.m_uiPitchInBytes[0]), std::pair(2u, 0u));
    for (const KUINT32 n : {1u, 0u})  // planes
    {
        Picture oPicture(n);
        KUINT16 a = 9, r = 9, g = 9, b = 9;
        oPicture.SetFgColorFromARGB(8, 5, 6, 7), oPicture.SetBgColourFromARGB(4, 1, 2, 3);
        oPicture.Clr(), oPicture.Rectangle(1, 1, 9, 9), oPicture.Dot(39, 2), oPicture.ReadColorToARGB(39, 2, a, r, g, b);
        EXPECT_EQ(std::tuple(a, r, g, b, oPicture.GetMaxAlpha(9)), std::tuple(8 * n, 5 * n, 6 * n, 7 * n, 9));
        EXPECT_EQ(std::ranges::count(oPicture.oMemory, INK), n * (WIDTH * HEIGHT - 65));
        EXPECT_EQ(std::ranges::count(oPicture.oMemory, 0x08070605u), n * 65);
    }
    QelSurfaceTyped<QelColor<TPixelFormat_B5G6R5, KUINT16>> o(nullptr, nullptr, nullptr, 1, 1, 0);
    EXPECT_TRUE(o.GetMaxAlpha(9) == 0 && o.GetMaxRed(31) == 31 && o.GetMaxGreen(300) == 63 && o.GetMaxBlue(17) == 17);
    EXPECT_EQ(std::tuple(o.GetMaxAlpha(), o.GetMaxRed(), o.GetMaxGreen(), o.GetMaxBlue()), std::tuple(0, 31, 63, 31));
}
