// The right to read and change a board's outputs and pixel files. One process at a time has it. What needs it takes a
// Transaction as a parameter, so that nobody can forget it.
#ifndef TRANSACTION_H
#define TRANSACTION_H

#include "BoardLocks.h"

namespace SoftwareBoard
{
class Transaction
{
public:
    // Waits for the transaction of another process. Throws BoardError when that takes longer than 5 seconds. A process has
    // one transaction at a time and keeps it short. The locks must stay where they are meanwhile.
    explicit Transaction(const BoardLocks& roLocks) : m_roLocks(roLocks) { roLocks.BeginTransaction(); }
    ~Transaction() { m_roLocks.EndTransaction(); }
    Transaction(const Transaction&)            = delete;
    Transaction& operator=(const Transaction&) = delete;

private:
    const BoardLocks& m_roLocks;
};
}

#endif
