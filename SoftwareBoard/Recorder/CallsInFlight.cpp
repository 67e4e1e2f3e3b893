#include "CallsInFlight.h"

#include <sys/mman.h>

#include <cstdio>
#include <cstring>

#include "BoardError.h"

namespace SoftwareBoard::Recorder
{
namespace
{
constexpr int SEALS = F_SEAL_SHRINK | F_SEAL_GROW;  // so that no access to the mapping can fail
}

CallsInFlight::CallsInFlight() : m_oFile(memfd_create("calls in flight", MFD_CLOEXEC | MFD_ALLOW_SEALING))
{
    if (!m_oFile || ftruncate(m_oFile.Get(), SIZE) != 0 || fcntl(m_oFile.Get(), F_ADD_SEALS, SEALS) != 0)
        ThrowSystemError("the calls in flight", "memfd_create");
    Map();
}

CallsInFlight::CallsInFlight(const char* pszPath)
{
    m_oFile = FileDescriptor::AboveStandardStreams(open(pszPath, O_RDWR | O_CLOEXEC));
    // In a container the path may lead to another file. Only memory of the right size has these seals.
    struct stat oStat = {};
    if (fcntl(m_oFile.Get(), F_GET_SEALS) == SEALS && fstat(m_oFile.Get(), &oStat) == 0 && oStat.st_size == SIZE)
        Map();
    m_oFile = FileDescriptor();
}

void CallsInFlight::Map()
{
    void* const pMapped = mmap(nullptr, SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, m_oFile.Get(), 0);
    if (pMapped != MAP_FAILED)
        m_aoSlots = {static_cast<SSlot*>(pMapped), SLOTS};
}

CallsInFlight::~CallsInFlight()
{
    if (!m_aoSlots.empty())
        munmap(m_aoSlots.data(), m_aoSlots.size_bytes());
}

std::string CallsInFlight::GetPath() const
{
    return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(m_oFile.Get());
}

CallsInFlight::Note::Note(const CallsInFlight& roCalls, KUINT64 uiAt, const std::string& strCall)
{
    for (SSlot& roSlot : roCalls.m_aoSlots)
    {
        if (roSlot.bTaken.load(std::memory_order_relaxed) || roSlot.bTaken.exchange(true))
            continue;
        m_poSlot = &roSlot;
        std::snprintf(roSlot.acText.data(), roSlot.acText.size(), "{\"at\":%llu%s}", uiAt, strCall.c_str());
        return;
    }
}

CallsInFlight::Note::~Note()
{
    if (m_poSlot != nullptr)
        m_poSlot->bTaken = false;
}

std::vector<std::string> CallsInFlight::Read() const
{
    std::vector<std::string> astrTexts;
    for (const SSlot& roSlot : m_aoSlots)
    {
        if (roSlot.bTaken)
            astrTexts.emplace_back(roSlot.acText.data(), strnlen(roSlot.acText.data(), roSlot.acText.size()));
    }
    return astrTexts;
}
}
