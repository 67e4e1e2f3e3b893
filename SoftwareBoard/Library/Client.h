// libTavrin.so.1: one process as the client of a board. Class Client is the state of the library. Every operation runs under
// its mutex, so any thread may call it. Every failure becomes a status; no exception leaves the library.
//
// The first call makes the state. It lasts until the process ends, even if the library is closed and opened again, because
// the process holds its outputs that long. A forked child starts without it.
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
    bool    bIsKnown;  // the client has asked for its handle; before that, the handle is refused
};

struct TVIDEOOUT_OBJECT
{
    KUINT32 uiDevice;
    KUINT32 uiOutput;
};

namespace SoftwareBoard::Library
{
// Returns a number that is no address and that no handle had before. So a released handle never means another object.
KUINTPTR NewHandle();

// Owns the objects behind handles. A handle is looked up and never dereferenced, so an invalid one does no harm.
template <class T> class HandleTable
{
public:
    T* Add(std::unique_ptr<T> poObject)
    {
        T* const hObject = reinterpret_cast<T*>(NewHandle());
        m_oObjects.emplace(hObject, std::move(poObject));
        return hObject;
    }
    // Returns the object, or null for a handle that is not in the table.
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

    // Opens the board at the first call. Throws BoardError if that fails; the next call tries again.
    Board& OpenBoard();

    // FindDevice returns nothing for a handle that DeviceAt has not returned. It does not read the board: if the device is
    // gone, the caller's next call of the board's state throws.
    TDevice_Handle         DeviceAt(KUINT32 uiDevice);
    std::optional<KUINT32> FindDevice(TDevice_Handle hDev) const;

    // Takes the output's lock, unless this process holds it already. Returns false if another process holds it.
    bool HoldOutput(const TVIDEOOUT_OBJECT& roOutput);
    void ReleaseOutput(const TVIDEOOUT_OBJECT& roOutput);
    bool IsHolding(const TVIDEOOUT_OBJECT& roOutput) const { return m_aabHeld[roOutput.uiDevice][roOutput.uiOutput]; }

    // Call it when a pixel file may have become needless. It ignores failures: the next call removes what this one left.
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

// Runs the body of an operation under the mutex. Returns its result, or tFailed if anything is thrown.
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
