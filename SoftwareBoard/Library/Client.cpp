#include "Client.h"

#include <pthread.h>

#include "PixelFiles.h"

namespace SoftwareBoard::Library
{
KUINTPTR NewHandle()
{
    // No 64-bit processor maps a program's memory there.
    static KUINTPTR s_uiLast = KUINTPTR{0x5441} << 48;
    return s_uiLast += 16;
}

Client& Client::Get()
{
    // Never destroyed: other threads may still use it while the process ends.
    static Client* const s_poClient = [] {
        auto* const poClient = new Client;
        // fork() waits for the call in progress. The child closes its share of the open files at once. Otherwise it would
        // keep the parent's outputs held after the parent has ended.
        pthread_atfork([] { Get().m_oMutex.lock(); }, [] { Get().m_oMutex.unlock(); },
                       [] {
                           Get().ForgetAll();
                           Get().m_oMutex.unlock();
                       });
        return poClient;
    }();
    return *s_poClient;
}

Client::Client()
{
    for (KUINT32 uiDevice = 0; uiDevice < MAX_DEVICES; ++uiDevice)
        m_aoDevices[uiDevice].uiIndex = uiDevice;
}

void Client::ForgetAll()
{
    m_oBuffers.Clear();
    m_oVideoOuts.Clear();
    m_ooBoard.reset();
    m_aabHeld = {};
}

Board& Client::OpenBoard()
{
    if (!m_ooBoard)
        m_ooBoard.emplace(Board::Open());
    return *m_ooBoard;
}

TDevice_Handle Client::DeviceAt(KUINT32 uiDevice)
{
    TDEVICE_OBJECT& roDevice = m_aoDevices.at(uiDevice);
    roDevice.bIsKnown        = true;
    return &roDevice;
}

std::optional<KUINT32> Client::FindDevice(TDevice_Handle hDev) const
{
    for (const TDEVICE_OBJECT& roDevice : m_aoDevices)
    {
        if (&roDevice == hDev && m_ooBoard && roDevice.bIsKnown)
            return roDevice.uiIndex;
    }
    return std::nullopt;
}

bool Client::HoldOutput(const TVIDEOOUT_OBJECT& roOutput)
{
    bool& rbHeld = m_aabHeld[roOutput.uiDevice][roOutput.uiOutput];
    rbHeld       = rbHeld || OpenBoard().m_oLocks.TryHoldOutput(roOutput.uiDevice, roOutput.uiOutput);
    return rbHeld;
}

void Client::ReleaseOutput(const TVIDEOOUT_OBJECT& roOutput)
{
    OpenBoard().m_oLocks.ReleaseOutput(roOutput.uiDevice, roOutput.uiOutput);
    m_aabHeld[roOutput.uiDevice][roOutput.uiOutput] = false;
}

void Client::SweepPixelFiles() noexcept
{
    try
    {
        const Board&      roBoard = OpenBoard();
        const Transaction oTransaction(roBoard.m_oLocks);
        SoftwareBoard::SweepPixelFiles(oTransaction, roBoard.m_oFolder, roBoard.m_oState);
    }
    catch (...)
    {}
}
}
