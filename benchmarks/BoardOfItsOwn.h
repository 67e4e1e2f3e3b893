// The folder of a board that a benchmark uses.
#ifndef BOARD_OF_ITS_OWN_H
#define BOARD_OF_ITS_OWN_H

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "BoardFolder.h"

// A folder for a board, in memory as a session's own folder is. Made by the first process and shared with those that it
// starts.
class BoardOfItsOwn
{
public:
    BoardOfItsOwn() : m_bIsOwner(std::getenv(MADE_VARIABLE) == nullptr)
    {
        if (!m_bIsOwner)
            return;
        const std::string strFolder = (std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp") +
                                      std::string("/benchmark-") + std::to_string(getpid());
        setenv("TAVRIN_BOARD", strFolder.c_str(), 1);
        setenv(MADE_VARIABLE, "1", 1);
    }
    ~BoardOfItsOwn()
    {
        if (m_bIsOwner)
            std::filesystem::remove_all(SoftwareBoard::BoardFolder::DefaultPath());
    }
    BoardOfItsOwn(const BoardOfItsOwn&)            = delete;
    BoardOfItsOwn& operator=(const BoardOfItsOwn&) = delete;

private:
    static constexpr char MADE_VARIABLE[] = "QEL_BENCHMARK_BOARD";

    bool m_bIsOwner;
};

#endif
