// Why a board cannot be opened or trusted, as a text for people: which file, which call, what the system said. The library
// turns it into TStatus_FAIL; the front panel prints it.
#ifndef BOARD_ERROR_H
#define BOARD_ERROR_H

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace SoftwareBoard
{
class BoardError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// There is no board in the folder, and the caller did not ask for a new one.
class NoBoardError : public BoardError
{
public:
    explicit NoBoardError(const std::string& strFolder)
        : BoardError(strFolder + ": there is no board here; a run of the tool makes one, or \"tavrin-board create\", and "
                                 "TAVRIN_BOARD names another folder")
    {}
};

[[noreturn]] inline void ThrowSystemError(const std::string& strPath, const char* pszCall, int iErrno = errno)
{
    throw BoardError(strPath + ": " + pszCall + ": " + std::generic_category().message(iErrno));
}
}

#endif
