// How far a replay has come. It is kept in a file of the board's folder, so that the processes of the command go on one
// after the other, and the panel learns in the end how it went.
#ifndef REPLAY_PROGRESS_H
#define REPLAY_PROGRESS_H

#include <array>
#include <string>

#include "BoardFolder.h"
#include "FileLock.h"

namespace SoftwareBoard::Recorder
{
// How the replaying library is told what to do: the file of the record, and, if set, not to wait.
constexpr char REPLAY_FILE_VARIABLE[] = "TAVRIN_REPLAY_FILE";
constexpr char REPLAY_FAST_VARIABLE[] = "TAVRIN_REPLAY_FAST";

enum class EReplay : KUINT32
{
    Going,
    Departed,  // the command called something else than the record has
    Failed,    // the record or the board ended it: the command has reached the damage of the record, or there is no room
};

struct SReplayed
{
    KUINT64                uiCalls = 0;  // that were answered
    EReplay                eState  = EReplay::Going;
    std::array<char, 2048> acText  = {};  // what is to be said of the state
};

class ReplayProgress
{
public:
    // Makes the file, or opens the one there. Throws BoardError.
    static ReplayProgress Make(const BoardFolder& roFolder);
    static ReplayProgress Open(const BoardFolder& roFolder);
    static void           Remove(const BoardFolder& roFolder) { roFolder.Remove(FILE_NAME); }

    SReplayed Read() const;
    void      Write(const SReplayed& roReplayed) const;

    // One process at a time takes a line of the record.
    FileLock Lock() const { return {m_oFile.Get(), FILE_NAME}; }

private:
    static constexpr char FILE_NAME[] = "board.replay";

    explicit ReplayProgress(FileDescriptor oFile) : m_oFile(std::move(oFile)) {}

    FileDescriptor m_oFile;
};
}

#endif
