// The right to read and change a board's outputs and pixel files. One process at a time has it. A function that
// may only run inside a transaction takes a const Transaction&, so the compiler enforces it.
#ifndef TRANSACTION_H
#define TRANSACTION_H

#include "BoardLocks.h"

namespace SoftwareBoard
{
class Transaction
{
public:
    // Waits until no other process has a transaction. Throws BoardError after 5 seconds, or at once if the last
    // wait of the process ended so. A process must have only one at a time, and must keep it short. roLocks must outlive it.
    explicit Transaction(const BoardLocks& roLocks) : m_roLocks(roLocks) { roLocks.BeginTransaction(); }
    ~Transaction() { m_roLocks.EndTransaction(); }
    Transaction(const Transaction&)            = delete;
    Transaction& operator=(const Transaction&) = delete;

private:
    const BoardLocks& m_roLocks;
};
}

#endif
