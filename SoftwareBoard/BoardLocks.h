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
// One lock on one byte of an open file, of type F_RDLCK (shared), F_WRLCK or F_UNLCK. FALSE only when bWait is not set and
// somebody else has it.
bool LockByte(int iFd, off_t iByte, short sType, bool bWait);
// For destructors: what the kernel refuses to unlock, it unlocks at the end of the process.
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
    void ReleaseOutput(KUINT32 uiDevice, KUINT32 uiOutput)
    {
        LockByte(m_oFile.Get(), OutputByte(uiDevice, uiOutput), F_UNLCK, false);
    }
    bool IsOutputHeldByAnother(KUINT32 uiDevice, KUINT32 uiOutput) const;

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
    static constexpr off_t msc_iFirstOutput  = 1024;
    static constexpr off_t msc_iDeviceStride = 1024;

    static off_t OutputByte(KUINT32 uiDevice, KUINT32 uiOutput)
    {
        return msc_iFirstOutput + msc_iDeviceStride * off_t{uiDevice} + off_t{uiOutput};
    }

    FileDescriptor m_oFile;
};
}

#endif
