// The locks of a board. Each is one byte of the state file. The kernel releases a lock when the process that holds it ends,
// however it ends.
//
// A lock belongs to the open file: all threads of a process hold it together. Files that were opened separately exclude each
// other, even in one process.
#ifndef BOARD_LOCKS_H
#define BOARD_LOCKS_H

#include <fcntl.h>

#include "FileDescriptor.h"
#include "QelTypes.h"

namespace SoftwareBoard
{
// Tries to lock one byte with type F_RDLCK (shared) or F_WRLCK (exclusive). Returns false if another open file holds it.
bool TryLockByte(int iFd, off_t iByte, short sType);
// Whether TryLockByte would return false now.
bool IsByteLocked(int iFd, off_t iByte, short sType);
// A failed unlock is ignored: closing the file releases the lock.
void UnlockByte(int iFd, off_t iByte) noexcept;

class BoardLocks
{
public:
    // Shares the open file of roFile, and so its locks.
    explicit BoardLocks(const FileDescriptor& roFile);

    // Makes this a client of the board until the file is closed. Waits while a new board is being made.
    void JoinClients() { Wait(CLIENTS_BYTE, F_RDLCK); }
    // Keeps new clients out until the file is closed. Returns false if the board has a client.
    bool TryShutOutClients() { return TryLockByte(m_oFile.Get(), CLIENTS_BYTE, F_WRLCK); }

    bool TryHoldOutput(KUINT32 uiDevice, KUINT32 uiOutput)
    {
        return TryLockByte(m_oFile.Get(), OutputByte(uiDevice, uiOutput), F_WRLCK);
    }
    void ReleaseOutput(KUINT32 uiDevice, KUINT32 uiOutput) { UnlockByte(m_oFile.Get(), OutputByte(uiDevice, uiOutput)); }
    bool IsOutputHeldByAnother(KUINT32 uiDevice, KUINT32 uiOutput) const
    {
        return IsByteHeldByAnother(OutputByte(uiDevice, uiOutput));
    }

    // Makes this the one process that shows the device's outputs on real displays. Returns false if another process does.
    bool TryServeDevice(KUINT32 uiDevice) { return TryLockByte(m_oFile.Get(), DisplayByte(uiDevice), F_WRLCK); }
    bool IsDeviceServedByAnother(KUINT32 uiDevice) const { return IsByteHeldByAnother(DisplayByte(uiDevice)); }

private:
    friend class Transaction;
    void BeginTransaction() const { Wait(TRANSACTION_BYTE, F_WRLCK); }
    void EndTransaction() const { UnlockByte(m_oFile.Get(), TRANSACTION_BYTE); }

    static constexpr off_t TRANSACTION_BYTE   = 0;
    static constexpr off_t CLIENTS_BYTE       = 1;
    static constexpr off_t FIRST_DISPLAY_BYTE = 512;
    static constexpr off_t FIRST_OUTPUT_BYTE  = 1024;
    static constexpr off_t DEVICE_STRIDE      = 1024;

    static off_t DisplayByte(KUINT32 uiDevice) { return FIRST_DISPLAY_BYTE + off_t{uiDevice}; }
    static off_t OutputByte(KUINT32 uiDevice, KUINT32 uiOutput)
    {
        return FIRST_OUTPUT_BYTE + DEVICE_STRIDE * off_t{uiDevice} + off_t{uiOutput};
    }

    void Wait(off_t iByte, short sType) const;
    bool IsByteHeldByAnother(off_t iByte) const { return IsByteLocked(m_oFile.Get(), iByte, F_WRLCK); }

    FileDescriptor m_oFile;
    mutable bool   m_bGaveUp = false;  // the last wait timed out
};
}

#endif
