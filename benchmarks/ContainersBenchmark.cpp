// The containers and the registry beside the standard library doing the same work, and what one registry takes.
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "BenchmarkTable.h"
#include "FpgaFirmwareCheck.h"
#include "QelMFCTypes.h"
#include "XDevFpgaInfo.h"

namespace
{
// Everything that anyone takes from the heap while counting is on.
struct HeapCount
{
    bool   bIsOn    = false;
    size_t uiBlocks = 0;
    size_t uiBytes  = 0;
} g_oHeap;

void* Take(size_t uiSize)
{
    if (g_oHeap.bIsOn)
    {
        ++g_oHeap.uiBlocks;
        g_oHeap.uiBytes += uiSize;
    }
    if (void* pvBlock = std::malloc(uiSize))
        return pvBlock;
    throw std::bad_alloc();
}
}

void* operator new(size_t uiSize)
{
    return Take(uiSize);
}
void* operator new[](size_t uiSize)
{
    return Take(uiSize);
}
void operator delete(void* pvBlock) noexcept
{
    std::free(pvBlock);
}
void operator delete[](void* pvBlock) noexcept
{
    std::free(pvBlock);
}
void operator delete(void* pvBlock, size_t) noexcept
{
    std::free(pvBlock);
}
void operator delete[](void* pvBlock, size_t) noexcept
{
    std::free(pvBlock);
}

namespace
{
constexpr int     REPEATS = 1000;
constexpr int     APPENDS = 10000;
constexpr KUINT32 FPGAS   = 16;
constexpr KUINT32 VERSION = E_FPGA_IP_KVM_IN_F0_01_27_001;

constexpr KCHAR8 TEXT[] = "A name that fits in no small buffer, as boards have";

// Keeps a result alive without writing it anywhere.
template <class T> void Keep(const T& roValue)
{
    asm volatile("" : : "g"(&roValue) : "memory");
}

template <class T> void CopyOften(const T& roText)
{
    for (int i = 0; i < REPEATS; ++i)
    {
        const T oCopy(roText);
        Keep(oCopy);
    }
}

// A vector that grows as the arrays do: an exact first element, then by four.
template <class T> void Append(std::vector<T>& roVector, const T& roValue)
{
    if (roVector.size() == roVector.capacity())
        roVector.reserve(roVector.empty() ? 1 : roVector.capacity() + 4);
    roVector.push_back(roValue);
}

// The plain way to the same answer: a name, a list that grows, the first row that matches.
struct PlainFpga
{
    explicit PlainFpga(const XDevFpgaInfo::FpgaVersionArray& roRows, const char* pszName) : oName(pszName)
    {
        for (const auto* po = roRows.Begin(); po != roRows.End(); ++po)
            Append(oRows, *po);
    }
    bool IsSupported(KUINT32 uiVersion) const
    {
        const auto IsMatch = [uiVersion](const auto& roRow) { return (roRow.uiFpgaVersion >> 8) == (uiVersion >> 8); };
        const auto itRow   = std::find_if(oRows.begin(), oRows.end(), IsMatch);
        return itRow != oRows.end() && itRow->bIsSupported;
    }

    std::string                                 oName;
    std::vector<XDevFpgaInfo::SFpgaVersionData> oRows;
};

XDevFpgaInfo MakeFpga(const CKString& roName)
{
    return XDevFpgaInfo(E_FPGA_DEVID_IP_KVM_IN_F0, VERSION, 0, FALSE, 0, 0xd0, roName);
}

// What the containers take through their hook, and what the heap's own rounding makes of it.
class CountingAllocator : public CKAllocator
{
public:
    void* Alloc(size_t uiSize) override
    {
        void* pvBlock = std::malloc(uiSize);
        ++m_uiTaken;
        ++m_uiBlocks;
        m_uiUsable += malloc_usable_size(pvBlock);
        m_uiPeakUsable = std::max(m_uiPeakUsable, m_uiUsable);
        return pvBlock;
    }
    void Free(void* pvBlock) override
    {
        --m_uiBlocks;
        m_uiUsable -= malloc_usable_size(pvBlock);
        std::free(pvBlock);
    }

    size_t m_uiTaken = 0, m_uiBlocks = 0, m_uiUsable = 0, m_uiPeakUsable = 0;
};

void PrintStorageOfTheLongestList()
{
    const CKString oName(TEXT);
    g_oHeap = {true, 0, 0};
    {
        const XDevFpgaInfo oFpga = MakeFpga(oName);
        g_oHeap.bIsOn            = false;
        std::printf("\none XDevFpgaInfo with %d versions: %zu bytes itself, %zu in its registry\n",
                    oFpga.GetFpgaVersionData().GetSize(), sizeof(oFpga),
                    oFpga.GetFpgaVersionData().GetAllocCount() * sizeof(XDevFpgaInfo::SFpgaVersionData));
    }
    std::printf("  from the heap while it is built: %zu blocks, %zu bytes together\n", g_oHeap.uiBlocks, g_oHeap.uiBytes);

    CountingAllocator oAllocator;
    CKAllocator::SetGlobalAllocator(&oAllocator);
    g_oHeap = {true, 0, 0};
    {
        const XDevFpgaInfo oFpga = MakeFpga(CKString());
        g_oHeap.bIsOn            = false;
        std::printf("  through the allocation hook: %zu blocks, of which %zu stay with %zu usable bytes (peak %zu); "
                    "%zu blocks beside it\n",
                    oAllocator.m_uiTaken, oAllocator.m_uiBlocks, oAllocator.m_uiUsable, oAllocator.m_uiPeakUsable,
                    g_oHeap.uiBlocks);
    }
    CKAllocator::SetGlobalAllocator(nullptr);
    std::printf("  after its end: %zu blocks\n", oAllocator.m_uiBlocks);
}
}

// A board whose FPGAs all have the longest list, and a version that is found last among the supported ones.
TStatus TBoard_GetFpgaCount(TDevice_Handle, KUINT32* puiCount)
{
    *puiCount = FPGAS;
    return TStatus_OK;
}

TStatus TBoard_GetFpgaInfo(TDevice_Handle, KUINT32 uiIndex, tagTBoard_FpgaInfo* poFpgaInfo)
{
    *poFpgaInfo = {84, "FPGA", 0xa, 0xc3e7, uiIndex, 0xd0, 0, 7, 15};
    return TStatus_OK;
}

int main(int iArguments, char** ppszArguments)
{
    BenchmarkTable oTable(iArguments, ppszArguments);

    const CKString    oText(TEXT);
    const std::string oStdText(TEXT);
    const auto        poSharedText = std::make_shared<const std::string>(TEXT);
    const auto        CopyOurs     = [&] { CopyOften(oText); };
    oTable.Compare("1000 copies of a string", "std::string", {}, CopyOurs, [&] { CopyOften(oStdText); });
    oTable.Compare("1000 copies of a string", "std::shared_ptr", {}, CopyOurs, [&] { CopyOften(poSharedText); });

    const XDevFpgaInfo::SFpgaVersionData oRow = {VERSION, TRUE, TRUE};
    oTable.Compare(
        "10000 appends to an array", "std::vector", {},
        [&] {
            XDevFpgaInfo::FpgaVersionArray oArray;
            for (int i = 0; i < APPENDS; ++i)
                oArray.SetAtGrow(oArray.GetSize(), oRow);
            Keep(oArray);
        },
        [&] {
            std::vector<XDevFpgaInfo::SFpgaVersionData> oVector;
            for (int i = 0; i < APPENDS; ++i)
                Append(oVector, oRow);
            Keep(oVector);
        });

    const XDevFpgaInfo oLongest = MakeFpga(oText);
    const auto&        roRows   = oLongest.GetFpgaVersionData();
    oTable.Compare(
        "XDevFpgaInfo of the longest list", "std::vector", {}, [&] { Keep(MakeFpga(oText)); },
        [&] { Keep(PlainFpga(roRows, TEXT)); });
    oTable.Compare(
        "check of 16 FPGAs", "std::vector and std::string", {}, [] { Keep(IsFpgaFirmwareSupported(nullptr)); },
        [&] {
            for (KUINT32 i = 0; i < FPGAS; ++i)
            {
                tagTBoard_FpgaInfo oInfo = {};
                TBoard_GetFpgaInfo(nullptr, i, &oInfo);
                Keep(PlainFpga(roRows, oInfo.szName).IsSupported(0x0070f));
            }
        });

    if (oTable.IsWhole())
        PrintStorageOfTheLongestList();
    return 0;
}
