// One process as the client of one board: the one state of the library. Every operation runs under its mutex, so it may be
// called from any thread, and no failure leaves the library but as a status.
//
// The state is made at the first call and stays to the end of the process, also when the library is closed and opened
// again, because the outputs that the process enabled are held that long. A forked child starts without any of it.
#ifndef CLIENT_H
#define CLIENT_H

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "Board.h"
#include "BufferObject.h"
#include "Tavrin.h"

struct TDEVICE_OBJECT
{
    KUINT32 uiIndex;
    bool    bIsKnown;  // to the client: until it was asked for, its handle is a foreign one
};

struct TVIDEOOUT_OBJECT
{
    KUINT32 uiDevice;
    KUINT32 uiOutput;
};

namespace SoftwareBoard::Library
{
// A number that no handle of this process had before and that is no address, so that a dead handle is never another's.
KUINTPTR NewHandle();

// The objects behind handles. What a client hands in is looked up and never followed, so that null, dead and foreign handles
// do no harm.
template <class T> class HandleTable
{
public:
    T* Add(std::unique_ptr<T> poObject)
    {
        T* const hObject = reinterpret_cast<T*>(NewHandle());
        m_oObjects.emplace(hObject, std::move(poObject));
        return hObject;
    }
    // The object, or null for a handle that is not in the table.
    T* Find(T* hObject) const
    {
        const auto i = m_oObjects.find(hObject);
        return i != m_oObjects.end() ? i->second.get() : nullptr;
    }
    bool Remove(T* hObject) { return m_oObjects.erase(hObject) != 0; }
    void Clear() { m_oObjects.clear(); }

private:
    std::map<const T*, std::unique_ptr<T>> m_oObjects;
};

class Client
{
public:
    static Client& Get();

    // Opens the board at the first call; one that cannot be opened is tried again at the next.
    Board& OpenBoard();

    // The handle of a device that the board has. Finding it again costs no look at the board: whoever uses what the device
    // holds asks the board's state, which tells when the device is there no more.
    TDevice_Handle         DeviceAt(KUINT32 uiDevice);
    std::optional<KUINT32> FindDevice(TDevice_Handle hDev) const;

    // FALSE when another process holds the output. What was held before stays held; the kernel releases it at the end.
    bool HoldOutput(const TVIDEOOUT_OBJECT& roOutput);
    void ReleaseOutput(const TVIDEOOUT_OBJECT& roOutput);
    bool IsHolding(const TVIDEOOUT_OBJECT& roOutput) const { return m_aabHeld[roOutput.uiDevice][roOutput.uiOutput]; }

    // After what may have made a pixel file needless. What it misses, the next one finds.
    void SweepPixelFiles() noexcept;

    HandleTable<TBUFFER_OBJECT>   m_oBuffers;
    HandleTable<TVIDEOOUT_OBJECT> m_oVideoOuts;
    std::mutex                    m_oMutex;

private:
    Client();
    void ForgetAll();

    std::optional<Board>                                   m_ooBoard;
    std::array<TDEVICE_OBJECT, MAX_DEVICES>                m_aoDevices = {};
    std::array<std::array<bool, MAX_OUTPUTS>, MAX_DEVICES> m_aabHeld   = {};
};

// The body of an operation: what it returns, or tFailed when anything is thrown on the way.
template <class TResult, class TBody> TResult Guarded(TResult tFailed, TBody fBody) noexcept
{
    try
    {
        Client&                           roClient = Client::Get();
        const std::lock_guard<std::mutex> oLock(roClient.m_oMutex);
        return fBody(roClient);
    }
    catch (...)
    {
        return tFailed;
    }
}
}

#endif
