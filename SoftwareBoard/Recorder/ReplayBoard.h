// The board of a replay. It shows what the client draws, enables and writes to registers.
#ifndef REPLAY_BOARD_H
#define REPLAY_BOARD_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "RecordReader.h"
#include "ReplayBuffer.h"

namespace SoftwareBoard::Recorder
{
class ReplayBoard
{
public:
    // Opens the board, unless it is open. Throws BoardError.
    void Open();
    // For a child process: nothing of the board that its parent holds is the child's.
    void Forget();

    const BoardFolder& GetFolder() const { return m_ooBoard->m_oFolder; }

    // Makes the buffer that the call has created. ooPlanes is what the record tells of its planes later on. Throws
    // BoardError if there is no room.
    void MakeBuffer(const SCall& roCall, const Words& roArguments, const std::optional<tagTBuffer_PlaneInfo>& ooPlanes);
    // Gives the client the addresses of a buffer's planes. Throws BoardError if the record does not tell of the buffer.
    void FillPlanes(const SCall& roCall, const Words& roArguments);
    // Shows what another call does. What the board cannot show is left out.
    void Act(const SCall& roCall, const Words& roArguments);

private:
    struct SOutput
    {
        KUINT32 uiDevice;
        KUINT32 uiOutput;
    };

    void Show(const SOutput& roOutput, const SOutputRecord& roRecord);
    void Sweep(const Transaction& roTransaction) const
    {
        SweepPixelFiles(roTransaction, m_ooBoard->m_oFolder, m_ooBoard->m_oState);
    }
    KUINT32 DeviceOf(const SCall& roCall) const { return m_oDevices.at(roCall.oArguments.at("hDev").dump()); }

    std::optional<Board>                m_ooBoard;
    std::map<std::string, KUINT32>      m_oDevices;  // the index by the name of the handle, like the next two
    std::map<std::string, ReplayBuffer> m_oBuffers;
    std::map<std::string, SOutput>      m_oOutputs;
    // Of a parent process. Never destroyed: their threads are not here.
    std::vector<std::map<std::string, ReplayBuffer>> m_aoForgotten;
};
}

#endif
