// The calls that the processes of a run are in, each as text, in memory that they share with the panel. A call that crashes
// or hangs never gets its line in the record, so the panel writes here what it was into the last line.
#ifndef CALLS_IN_FLIGHT_H
#define CALLS_IN_FLIGHT_H

#include <array>
#include <atomic>
#include <span>
#include <string>
#include <vector>

#include "FileDescriptor.h"
#include "QelTypes.h"

namespace SoftwareBoard::Recorder
{
// How the recording library is told where that memory is.
constexpr char RECORD_CALLS_VARIABLE[] = "TAVRIN_RECORD_CALLS";

class CallsInFlight
{
    struct SSlot
    {
        std::atomic<bool>      bTaken;
        std::array<char, 2047> acText;
    };

public:
    // Makes the memory. Throws BoardError.
    CallsInFlight();
    // Opens what another process has made. Without it, nothing is noted.
    explicit CallsInFlight(const char* pszPath);
    ~CallsInFlight();
    CallsInFlight(const CallsInFlight&)            = delete;
    CallsInFlight& operator=(const CallsInFlight&) = delete;

    // Where other processes open the memory while the one that has made it lives.
    std::string GetPath() const;

    // A call is in flight while its note exists. strCall is what its line in the record will hold behind "at". A thread for
    // which there is no room leaves no note.
    class Note
    {
    public:
        Note(const CallsInFlight& roCalls, KUINT64 uiAt, const std::string& strCall);
        ~Note();
        Note(const Note&)            = delete;
        Note& operator=(const Note&) = delete;

    private:
        SSlot* m_poSlot = nullptr;
    };

    // Each call as a JSON object in text. One that a process is just writing may be damaged.
    std::vector<std::string> Read() const;

private:
    static constexpr size_t SLOTS = 64;
    static constexpr off_t  SIZE  = SLOTS * sizeof(SSlot);

    void Map();

    FileDescriptor   m_oFile;
    std::span<SSlot> m_aoSlots;
};
}

#endif
