// What pictures cost: a step of the animation beside memcpy, the blend of a frame beside pixman's, and loading beside libpng
// alone.
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <pixman.h>

#include "BenchmarkTable.h"
#include "FrameBlend.h"
#include "LibpngAlone.h"
#include "OsServices.h"
#include "Pictures.h"
#include "PngAnimation.h"

OsServices g_oOsServices(nullptr);

namespace
{
constexpr KUINT32 SIZE = 512;
constexpr KUINT32 PAGE = 4096;
constexpr KINT32  LEFT = 704, TOP = 284;
constexpr KUINT32 PITCH = (Pictures::WIDTH + 16) * 4;

// A plane that starts with a page, as a mapped one does.
struct SPlane
{
    std::vector<KUINT8> auiMemory = std::vector<KUINT8>(size_t{PITCH} * Pictures::HEIGHT + PAGE, 0x40);
    KUINT8*             puiPixels = &auiMemory[PAGE - reinterpret_cast<KUINTPTR>(auiMemory.data()) % PAGE];
};

// A sequence of frames as InitAnimationPng leaves it.
struct SSequence
{
    SSequence()
    {
        for (std::vector<KUINT8>& raui : aauiFrames)
        {
            raui.assign(size_t{SIZE} * SIZE * 4, 0x55);
            apuiFrames.push_back(raui.data());
        }
        oData = {apuiFrames.data(), Pictures::FRAMES, {LEFT, TOP, LEFT + KINT32{SIZE}, TOP + KINT32{SIZE}}, 0};
    }
    std::vector<KUINT8>  aauiFrames[Pictures::FRAMES];
    std::vector<KUINT8*> apuiFrames;
    SAnimationPngData    oData = {};
};

// The size is an argument, as in a step: of one that it knows the compiler makes instructions of its own.
[[gnu::noipa]] void CopyRows(SSequence& ro, KUINT8* puiPlane, KUINT32& ruiIndex, KUINT32 uiRowBytes)
{
    ruiIndex = (ruiIndex + 1) % Pictures::FRAMES;
    for (KUINT32 y = 0; y < SIZE; ++y)
        std::memcpy(puiPlane + (TOP + y) * size_t{PITCH} + LEFT * 4, ro.apuiFrames[ruiIndex] + y * uiRowBytes, uiRowBytes);
}

// A frame and a ground to blend again and again.
class CBlend
{
public:
    explicit CBlend(std::vector<KUINT8> auiFrame) : m_auiFrame(std::move(auiFrame)), m_auiWork(m_auiFrame)
    {
        m_poFrame  = pixman_image_create_bits(PIXMAN_a8b8g8r8, SIZE, SIZE, Words(m_auiFrame.data()), SIZE * 4);
        m_poTarget = pixman_image_create_bits(PIXMAN_x8b8g8r8, SIZE, SIZE, Words(m_auiTarget.data()), SIZE * 4);
    }
    CBlend(const CBlend&)            = delete;
    CBlend& operator=(const CBlend&) = delete;
    ~CBlend() { pixman_image_unref(m_poFrame), pixman_image_unref(m_poTarget); }

    void Prepare()
    {
        m_auiWork   = m_auiFrame;
        m_auiTarget = m_auiGround;
    }

    // The frame over the ground: into the frame, as the tool does it, and into the ground, as pixman does.
    void Ours()
    {
        for (KUINT32 y = 0; y < SIZE; ++y)
            BlendRowOverGround(m_auiWork.data() + y * SIZE * 4, m_auiGround.data() + y * SIZE * 4, SIZE);
    }
    void Peer() { pixman_image_composite32(PIXMAN_OP_OVER, m_poFrame, nullptr, m_poTarget, 0, 0, 0, 0, 0, 0, SIZE, SIZE); }

private:
    static uint32_t* Words(KUINT8* pui) { return reinterpret_cast<uint32_t*>(pui); }

    std::vector<KUINT8> m_auiFrame, m_auiWork;
    std::vector<KUINT8> m_auiGround = std::vector<KUINT8>(size_t{SIZE} * SIZE * 4, 0x40);
    std::vector<KUINT8> m_auiTarget = m_auiGround;
    pixman_image_t*     m_poFrame;
    pixman_image_t*     m_poTarget;
};

std::vector<KUINT8> MakeRandomFrame()
{
    std::mt19937        oRandom(1);
    std::vector<KUINT8> aui(size_t{SIZE} * SIZE * 4);
    for (KUINT8& rui : aui)
        rui = static_cast<KUINT8>(oRandom());
    return aui;
}

void CompareBlends(BenchmarkTable& roTable)
{
    struct SCase
    {
        const char* pszWhat;
        CBlend      oBlend;
    } aoCases[] = {{"random alphas", CBlend(MakeRandomFrame())}, {"a ball", CBlend(Pictures::MakeFrame(SIZE, 1))}};
    for (SCase& ro : aoCases)
    {
        const std::string sWhat   = std::string("pre-blend 512x512, ") + ro.pszWhat;
        const auto        Ours    = [&ro] { ro.oBlend.Ours(); };
        const auto        Peer    = [&ro] { ro.oBlend.Peer(); };
        const auto        Prepare = [&ro] { ro.oBlend.Prepare(); };
        roTable.Compare(sWhat, "pixman OVER", SpeedAtLeast(1), Ours, Peer, Prepare);
        roTable.CompareInstructions(sWhat + ", callgrind", "pixman OVER", SpeedAtLeast(1), Ours, Peer, Prepare);
    }
}

void Load(const std::string& sPath, KUINT8* puiPlane)
{
    std::FILE* poFile = std::fopen(sPath.c_str(), "rb");
    if (!LoadImage(poFile, Pictures::WIDTH, PITCH, Pictures::HEIGHT, puiPlane))
        std::abort();
    std::fclose(poFile);
}
}

int main(int iArguments, char** ppszArguments)
{
    BenchmarkTable oTable(iArguments, ppszArguments);
    const Pictures oPictures;
    SPlane         oPlane;
    SSequence      oSequence;
    KUINT32        uiIndex = 0;

    oTable.Compare(
        "AnimationPngUpdate 512x512", "memcpy of the rows", SpeedAtLeast(0.95),
        [&] { AnimationPngUpdate(oSequence.oData, PITCH, oPlane.puiPixels); },
        [&] { CopyRows(oSequence, oPlane.puiPixels, uiIndex, SIZE * 4); });
    CompareBlends(oTable);
    for (const char* pszKind : {"photograph", "flat"})
    {
        const std::string sPath = oPictures.Path(pszKind);
        oTable.Compare(
            std::string("LoadImage 1920x1080, ") + pszKind, "libpng alone", CostAtMost(1.05),
            [&] { Load(sPath, oPlane.puiPixels); }, [&] { ReadByLibpngAlone(sPath); });
    }
    return 0;
}
