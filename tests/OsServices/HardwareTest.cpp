#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>

#include <pci/pci.h>

#include "OsServicesClient_Linux.h"
#include "QelVxd.h"
#include "Support.h"

namespace
{
// A folder of the test's own stands at /dev, in a mount namespace of this process. Its memory is a file of 6 GiB, all holes.
struct Devices : testing::Test
{
    void SetUp() override
    {
        ASSERT_EQ(ftruncate(m_iMemory, off_t{6} << 30), 0);
        m_bIsMounted = (unshare(CLONE_NEWNS) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) &&
                       mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                       mount(m_oFolder.oPath.c_str(), "/dev", nullptr, MS_BIND, nullptr) == 0;
        if (!m_bIsMounted) GTEST_SKIP() << "no private mount namespace, so no file at /dev/mem: " << std::strerror(errno);
    }

    void TearDown() override { EXPECT_TRUE((!m_bIsMounted || umount2("/dev", MNT_DETACH) == 0) && close(m_iMemory) == 0); }

    TestFolder m_oFolder;
    int        m_iMemory    = open((m_oFolder / "mem").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    bool       m_bIsMounted = false;
};

// Bytes of the process's address space that show the file, and records of mappings, with the ring whole both ways.
std::pair<size_t, int> Mapped()
{
    std::pair<size_t, int> oMapped;
    std::ifstream          oMaps("/proc/self/maps");
    for (std::string sLine; std::getline(oMaps, sLine);)
        if (sLine.ends_with(" /dev/mem"))
            oMapped.first += std::stoull(sLine.substr(sLine.find('-') + 1), nullptr, 16) - std::stoull(sLine, nullptr, 16);
    for (const MEMMAPINFO* po = g_oQelVxdMapList.pNext; po != &g_oQelVxdMapList; po = po->pNext, ++oMapped.second)
        EXPECT_TRUE(po->pNext->pPrev == po && po->pPrev->pNext == po);
    return oMapped;
}

TEST_F(Devices, RangesOfMemoryAreMappedInWholePagesAndGivenBackWhole)
{
    const std::tuple<KUINT64, KUINT32, size_t> aoRows[] = {
        // address, size, bytes mapped (0: mmap refuses)
        {0x1010, 16, 0x1000}, {0x1010, 16, 0x1000},     {0x2000, 0x1800, 0x2000}, {0xFFF, 2, 0x2000},
        {0xFFF, 1, 0x1000},   {0x140000010, 1, 0x1000}, {0x3000, 0, 0},           {0x3001, 0, 0x1000},
        {0, 0xFFFFFFFF, 0},   {5, 0xFFFFFFFF, 0x1000},  {~0ull << 12, 16, 0},     {0x100000FFF, 8, 0x2000}};
    const auto             oBefore = Held();
    std::vector<MEMHANDLE> ahMemory;
    std::pair<size_t, int> oExpected;
    for (const auto& [uiAddress, uiSize, uiMapped] : aoRows)
    {
        const MEMHANDLE hMemory = ahMemory.emplace_back(memMap64(uiAddress, uiSize, 0));
        SCOPED_TRACE(testing::Message() << std::hex << uiAddress << " " << uiSize << " at " << hMemory);
        oExpected = {oExpected.first + uiMapped, oExpected.second + (hMemory != 0)};
        ASSERT_EQ(Mapped(), oExpected);
        ASSERT_EQ(hMemory != 0, uiMapped != 0);
        if (hMemory == 0) continue;
        EXPECT_TRUE(g_oQelVxdMapList.pNext->dwSize == uiSize && hMemory % 4096 == uiAddress % 4096 &&
                    g_oQelVxdMapList.pNext->pvLinear == reinterpret_cast<void*>(hMemory))
            << "the latest is in front";
        auto* const pchMemory = reinterpret_cast<char*>(hMemory);
        char        ch        = static_cast<char>(++*pchMemory + 1);
        EXPECT_TRUE(pread(m_iMemory, &ch, 1, static_cast<off_t>(uiAddress)) == 1 && ch == *pchMemory) << "shared, and there";
    }
    EXPECT_EQ(memUnmap(ahMemory[0] + 1), 0u);
    for (size_t i = 0; i < 2 * std::size(aoRows); ++i)  // neither as they came nor the other way round, and each twice
    {
        const size_t uiRow = i * 5 % std::size(aoRows);
        const bool   bGoes = i < std::size(aoRows) && ahMemory[uiRow] != 0;
        oExpected          = {oExpected.first - (bGoes ? std::get<2>(aoRows[uiRow]) : 0), oExpected.second - bGoes};
        EXPECT_TRUE(memUnmap(ahMemory[uiRow]) == bGoes && Mapped() == oExpected) << uiRow;
    }
    EXPECT_EQ(Held(), oBefore);
}

TEST_F(Devices, RefusalsLeaveNothingAndMemoryIsAskedForAnewWithAnotherCachingType)
{
    ExpectFailures({"_ZnwmRKSt9nothrow_t", "open"},
                   {[] { return KBOOL32{g_oOsServices.IoMap(0x1010, 8, FALSE) != nullptr || Mapped().second != 0}; }});
    FailNext("open");
    EXPECT_EQ(memUnmap(memMap(0x1010, 8)), 1u);
    FailNext("open");
    void* const pvMemory = g_oOsServices.IoMap(0x1010, 8, 5);
    EXPECT_TRUE(pvMemory != nullptr && HasFailed());
    g_oOsServices.IoUnMap(pvMemory, 12345);
    EXPECT_EQ(Mapped(), std::pair(size_t{0}, 0));
    const auto fnWriteToKernel = [] {
        va_list oNone = {};
        return OsServices_WriteKernelMsg("100 %%\n", oNone), FALSE;
    };
    ExpectFailures({"fopen"}, {fnWriteToKernel});
    EXPECT_FALSE(std::filesystem::exists("/dev/kmsg") || fnWriteToKernel() || std::filesystem::file_size("/dev/kmsg") != 6);
}

// A PCI bus of the test's own, with the same place in two domains, whose calls may fail.
int     s_iAccesses = 0;
pci_dev s_aoDevices[4];

void ErrorIfFailing(const char* pszCall, void (*pfnError)(char*, ...))
{
    if (Fails(pszCall)) pfnError(const_cast<char*>("no %s"), "bus");
}
}

extern "C" pci_access* __real_pci_alloc();
extern "C" void        __real_pci_cleanup(pci_access* po);
extern "C" pci_access* __wrap_pci_alloc() { return Fails("pci_alloc") ? nullptr : (++s_iAccesses, __real_pci_alloc()); }
extern "C" void        __wrap_pci_init(pci_access* po) { ErrorIfFailing("pci_init", po->error); }
extern "C" void        __wrap_pci_scan_bus(pci_access* po)
{
    ErrorIfFailing("pci_scan_bus", po->error);
    po->warning(const_cast<char*>("slow %s"), "bus");
    const KUINT8 auiPlaces[4][3] = {{0xFF, 0x1F, 7}, {3, 3, 0}, {3, 3, 0}, {3, 3, 1}};
    for (size_t i = 0; i < 4; po->devices = &s_aoDevices[i++])
    {
        std::memcpy(&s_aoDevices[i].bus, auiPlaces[i], 3);  // and the device and the function behind it
        s_aoDevices[i].next = po->devices;
    }
}
extern "C" void __wrap_pci_cleanup(pci_access* po)
{
    const auto pfnError = po->error;
    po->devices         = nullptr;
    __real_pci_cleanup((--s_iAccesses, po));
    ErrorIfFailing("pci_cleanup", pfnError);
}

TEST(Pci, LookupFindsTheFirstMatchAndSurvivesAMachineWithoutBus)
{
    for (const std::string sFailing : {"pci_alloc", "pci_init", "pci_scan_bus", "pci_cleanup"})
    {
        FailNext(sFailing.c_str());
        const bool bIsFound = QelVxdPciLibConvertHandle(0xFFFF) == &s_aoDevices[0] && g_poQelVxdPciLibAccess != nullptr;
        EXPECT_TRUE(bIsFound == (sFailing == "pci_cleanup") && s_iAccesses == bIsFound) << sFailing;
        EXPECT_EQ(QelVxdPciLibConvertHandle(0xABCD0318), &s_aoDevices[2]) << "the first of two, by another scan if need be";
        EXPECT_EQ(QelVxdPciLibConvertHandle(0x0319), &s_aoDevices[3]);
        EXPECT_TRUE(QelVxdPciLibConvertHandle(0x0320) == nullptr && s_iAccesses == 1) << "one scan serves all lookups";
        EXPECT_EXIT(g_poQelVxdPciLibAccess->error(const_cast<char*>("no %s"), "bus"), testing::ExitedWithCode(1),
                    "^pcilib: no bus\n$");
        EXPECT_TRUE(OsServices(nullptr).IsInitialized());
        EXPECT_NE(g_poQelVxdPciLibAccess, nullptr) << "the last instance releases it, and no other";
        OsServices::SetTestMode(sFailing == "pci_init"), g_oOsServices.~OsServices();
        EXPECT_TRUE(g_poQelVxdPciLibAccess == nullptr && s_iAccesses == 0 && HasFailed());
        EXPECT_TRUE((new (&g_oOsServices) OsServices(nullptr))->IsInitialized());
        EXPECT_EQ((std::tuple{InitQELLibrary(), ReleaseQELLibrary(), OsServices_Cleanup()}), std::tuple(1u, 1u, TRUE));
    }
}
