// A record while it is written: the panel begins and ends it, the processes of the command append their calls. Each line is
// one write under a lock on the file, so a process that is killed loses none, and call n stands on line n + 1 whatever
// threads and processes call.
#ifndef RECORD_FILE_H
#define RECORD_FILE_H

#include <functional>
#include <string>
#include <string_view>

#include "FileDescriptor.h"
#include "QelTypes.h"

namespace SoftwareBoard::Recorder
{
constexpr KUINT32 RECORD_VERSION = 1;

// How the recording library is told what to do: the file of the record, the library to pass on to, and the start of the run
// on the monotonic clock, in nanoseconds.
constexpr char RECORD_FILE_VARIABLE[]    = "TAVRIN_RECORD_FILE";
constexpr char RECORD_LIBRARY_VARIABLE[] = "TAVRIN_RECORD_LIBRARY";
constexpr char RECORD_START_VARIABLE[]   = "TAVRIN_RECORD_START";

KUINT64 NowNs();

// What the file holds so far.
struct SRecorded
{
    KUINT64 uiCalls   = 0;
    KUINT32 uiThreads = 0;
    bool    bEnded    = false;  // by its end or by being cut
};

class RecordFile
{
public:
    // Appends to the record at the path. A command may close files that it does not know; then the next append opens it
    // again.
    explicit RecordFile(std::string strPath);

    // Appends what fLine returns, a line without its end. Returns false if that cannot be written in full. Then the record
    // is cut there: no process appends to it any more. Writes nothing behind the end of a record either. Throws BoardError
    // if the file cannot be locked.
    bool Append(const std::function<std::string(const SRecorded&)>& fLine);

    // For a child process, which would share its parent's lock: the next append opens the file anew.
    void Forget() { m_oFile.Release(); }

    const SRecorded& GetRecorded() const { return m_oRecorded; }

private:
    bool IsOpen() const;
    void Reopen();
    void Count(std::string_view svLine);
    void TakeInOthers(off_t iSize);

    std::string    m_strPath;
    FileDescriptor m_oFile;
    dev_t          m_uiDevice = 0;  // with the inode: which file it was when it was opened
    ino_t          m_uiInode  = 0;
    off_t          m_iSize    = 0;  // what m_oRecorded is about
    SRecorded      m_oRecorded;
    KUINT64        m_uiSizeLimit;  // beyond it, the system would end the process by a signal
};
}

#endif
