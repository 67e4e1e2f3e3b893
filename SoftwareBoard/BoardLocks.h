// Who may do what on a board at this moment: byte locks in a file that is never replaced, one byte for each thing that can
// be held. The kernel gives them back when the process that took them is gone, however it went.
//
// The locks belong to the open file, so that all threads of a process hold them together; one BoardLocks a process.
#ifndef BOARD_LOCKS_H
#define BOARD_LOCKS_H

#include <fcntl.h>

#include "BoardFolder.h"
#include "QelTypes.h"

namespace SoftwareBoard
{
// One lock on one byte of an open file, of type F_RDLCK (shared) or F_WRLCK. FALSE only when bWait is not set and somebody
// else has it.
bool LockByte(int iFd, off_t iByte, short sType, bool bWait);
// What is refused here the kernel undoes at the latest when the file is closed.
void UnlockByte(int iFd, off_t iByte) noexcept;

class BoardLocks
{
public:
    explicit BoardLocks(const BoardFolder& roFolder);

    // A client of the board, for the rest of the process. Waits while a new board is being made.
    void JoinClients() { LockByte(m_oFile.Get(), msc_iClients, F_RDLCK, true); }
    // The only one: FALSE when the board has a client.
    bool TryShutOutClients() { return LockByte(m_oFile.Get(), msc_iClients, F_WRLCK, false); }

    bool TryHoldOutput(KUINT32 uiDevice, KUINT32 uiOutput)
    {
        return LockByte(m_oFile.Get(), OutputByte(uiDevice, uiOutput), F_WRLCK, false);
    }
    void ReleaseOutput(KUINT32 uiDevice, KUINT32 uiOutput) { UnlockByte(m_oFile.Get(), OutputByte(uiDevice, uiOutput)); }
    bool IsOutputHeldByAnother(KUINT32 uiDevice, KUINT32 uiOutput) const
    {
        return IsByteHeldByAnother(OutputByte(uiDevice, uiOutput));
    }

    // The process that puts a device's outputs on real displays; one at a time.
    bool TryServeDevice(KUINT32 uiDevice) { return LockByte(m_oFile.Get(), DisplayByte(uiDevice), F_WRLCK, false); }
    bool IsDeviceServedByAnother(KUINT32 uiDevice) const { return IsByteHeldByAnother(DisplayByte(uiDevice)); }

    // Somebody removed the file: who opens the board now has other locks.
    bool IsRemoved() const { return m_oFile.IsRemoved(); }

    // While one exists, no other process reads or changes outputs and pixel files. Short; one at a time in a process.
    class Transaction
    {
    public:
        explicit Transaction(const BoardLocks& roLocks) : m_iFd(roLocks.m_oFile.Get())
        {
            LockByte(m_iFd, msc_iTransaction, F_WRLCK, true);
        }
        ~Transaction() { UnlockByte(m_iFd, msc_iTransaction); }
        Transaction(const Transaction&)            = delete;
        Transaction& operator=(const Transaction&) = delete;

    private:
        int m_iFd;
    };

private:
    static constexpr off_t msc_iTransaction  = 0;
    static constexpr off_t msc_iClients      = 1;
    static constexpr off_t msc_iFirstDisplay = 512;
    static constexpr off_t msc_iFirstOutput  = 1024;
    static constexpr off_t msc_iDeviceStride = 1024;

    static off_t DisplayByte(KUINT32 uiDevice) { return msc_iFirstDisplay + off_t{uiDevice}; }
    static off_t OutputByte(KUINT32 uiDevice, KUINT32 uiOutput)
    {
        return msc_iFirstOutput + msc_iDeviceStride * off_t{uiDevice} + off_t{uiOutput};
    }

    bool IsByteHeldByAnother(off_t iByte) const;

    FileDescriptor m_oFile;
};
}

#endif
