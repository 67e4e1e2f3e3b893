#include "ReplayProgress.h"

#include <fcntl.h>
#include <unistd.h>

#include "BoardError.h"

namespace SoftwareBoard::Recorder
{
ReplayProgress ReplayProgress::Make(const BoardFolder& roFolder)
{
    ReplayProgress oProgress(roFolder.OpenFile(FILE_NAME, O_RDWR | O_CREAT | O_TRUNC));
    oProgress.Write({});
    return oProgress;
}

ReplayProgress ReplayProgress::Open(const BoardFolder& roFolder)
{
    FileDescriptor oFile = roFolder.OpenFile(FILE_NAME, O_RDWR);
    if (!oFile)
        throw BoardError(roFolder.PathOf(FILE_NAME) + ": no replay is going on");
    return ReplayProgress(std::move(oFile));
}

SReplayed ReplayProgress::Read() const
{
    SReplayed oReplayed;
    if (pread(m_oFile.Get(), &oReplayed, sizeof(oReplayed), 0) != ssize_t{sizeof(oReplayed)})
        throw BoardError(std::string(FILE_NAME) + ": cut short");
    oReplayed.acText.back() = '\0';
    return oReplayed;
}

void ReplayProgress::Write(const SReplayed& roReplayed) const
{
    if (pwrite(m_oFile.Get(), &roReplayed, sizeof(roReplayed), 0) != ssize_t{sizeof(roReplayed)})
        ThrowSystemError(FILE_NAME, "pwrite");
}
}
