#include "ChildCommand.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

#include "BoardError.h"
#include "FileDescriptor.h"
#include "RecordFile.h"
#include "Signals.h"

namespace SoftwareBoard::Panel
{
namespace
{
// Blocks every signal that would end this process and could be meant for the command.
sigset_t BlockSignals(sigset_t& roBefore)
{
    sigset_t oSet = {};
    sigfillset(&oSet);
    for (const int iSignal : {SIGTSTP, SIGTTIN, SIGTTOU, SIGCONT, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS,
                              SIGPIPE, SIGXFSZ, SIGWINCH, SIGURG})
        sigdelset(&oSet, iSignal);
    sigprocmask(SIG_BLOCK, &oSet, &roBefore);
    return oSet;
}

// Replaces the child by the command. If that fails, writes the error number to the pipe.
[[noreturn]] void Execute(const PassedOn& roCommand, const sigset_t& roMask, const struct sigaction& roChildAction,
                          pid_t iPanel, int iFailure)
{
    // A panel that is killed takes the command with it, as if it had been the command.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != iPanel)
        _exit(127);
    sigaction(SIGCHLD, &roChildAction, nullptr);
    sigprocmask(SIG_SETMASK, &roMask, nullptr);
    execvp(roCommand.front(), roCommand.data());
    const int iError = errno;
    (void)!write(iFailure, &iError, sizeof(iError));
    _exit(127);
}
}

SEnd RunChild(const PassedOn& roCommand)
{
    std::array<int, 2> aiPipe = {};
    if (pipe2(aiPipe.data(), O_CLOEXEC) != 0)
        ThrowSystemError(roCommand.front(), "pipe");
    const FileDescriptor oRead(aiPipe[0]);
    FileDescriptor       oWrite(aiPipe[1]);
    sigset_t             oBefore = {};
    const sigset_t       oSet    = BlockSignals(oBefore);
    const pid_t          iPanel  = getpid();
    Defuse(SIGPIPE);  // what is to be said of the run may have no reader

    // A panel that was started with SIGCHLD ignored would not learn how the command ends.
    struct sigaction oChildAction = {}, oDefault = {};
    oDefault.sa_handler = SIG_DFL;
    sigaction(SIGCHLD, &oDefault, &oChildAction);
    const pid_t iChild = fork();
    if (iChild < 0)
        ThrowSystemError(roCommand.front(), "fork");
    if (iChild == 0)
        Execute(roCommand, oBefore, oChildAction, iPanel, oWrite.Get());
    oWrite            = FileDescriptor();
    int  iError       = 0;
    bool bNotExecuted = read(oRead.Get(), &iError, sizeof(iError)) == ssize_t{sizeof(iError)};

    std::vector<Recorder::SSignal> aoSignals;
    int                            iStatus = 0;
    while (waitpid(iChild, &iStatus, WNOHANG) != iChild)
    {
        siginfo_t oInfo   = {};
        const int iSignal = sigwaitinfo(&oSet, &oInfo);
        if (iSignal <= 0 || iSignal == SIGCHLD)
            continue;
        aoSignals.push_back({iSignal, Recorder::NowNs()});
        // A signal from the terminal went to the command as well.
        if (oInfo.si_code != SI_KERNEL)
            kill(iChild, iSignal);
    }
    sigprocmask(SIG_SETMASK, &oBefore, nullptr);
    if (bNotExecuted)
        ThrowSystemError(roCommand.front(), "exec", iError);
    const bool bSignal = WIFSIGNALED(iStatus);
    return {bSignal, bSignal ? WTERMSIG(iStatus) : WEXITSTATUS(iStatus), std::move(aoSignals)};
}

void SEnd::PassOn() const
{
    if (!bSignal)
        throw EndedWithStatus{iValue};
    // The command has left its core already.
    const rlimit oNoCore = {};
    setrlimit(RLIMIT_CORE, &oNoCore);
    throw EndedBySignal{iValue};
}
}
