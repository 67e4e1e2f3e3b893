// Wakes SDL, which waits for nothing but its own events, when a descriptor can be read.
#ifndef WAKER_H
#define WAKER_H

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <iterator>
#include <optional>
#include <thread>
#include <utility>

#include <SDL.h>

#include "BoardError.h"

namespace SoftwareBoard::Viewer
{
class Waker
{
public:
    Waker()
    {
        if (pipe2(m_aiPipe, O_CLOEXEC) != 0)
            ThrowSystemError("the window", "pipe");
        m_oThread = std::thread([iCommands = m_aiPipe[0]] {
            for (SDescriptors o = {}; read(iCommands, &o, sizeof(o)) == ssize_t{sizeof(o)};)
            {
                pollfd aoFiles[] = {{.fd = iCommands, .events = POLLIN},
                                    {.fd = o.iFirst, .events = POLLIN},
                                    {.fd = o.iSecond, .events = POLLIN}};
                poll(aoFiles, std::size(aoFiles), -1);
                SDL_Event oWake = {};
                oWake.type      = SDL_USEREVENT;
                if (aoFiles[0].revents == 0)
                    SDL_PushEvent(&oWake);
            }
        });
    }
    ~Waker()
    {
        close(m_aiPipe[1]);
        m_oThread.join();
        close(m_aiPipe[0]);
    }
    Waker(const Waker&)            = delete;
    Waker& operator=(const Waker&) = delete;

    // Wakes once, when one of the two can be read; -1 stands for none. Replaces the last call.
    void WakeWhen(int iFirst, int iSecond)
    {
        const SDescriptors o = {iFirst, iSecond};
        if (std::exchange(m_ooArmed, o) == o)
            return;
        if (write(m_aiPipe[1], &o, sizeof(o)) != ssize_t{sizeof(o)})
            ThrowSystemError("the window", "write");
    }

    // Call it when the window got its event.
    void HasWoken() { m_ooArmed.reset(); }

private:
    struct SDescriptors
    {
        int iFirst, iSecond;

        bool operator==(const SDescriptors&) const = default;
    };

    std::optional<SDescriptors> m_ooArmed;  // what the thread waits for

    int         m_aiPipe[2] = {-1, -1};
    std::thread m_oThread;
};
}

#endif
