// What a trial makes on a board. Each object takes itself back when it goes. A call that fails ends the trial.
#ifndef BOARD_OBJECTS_H
#define BOARD_OBJECTS_H

#include <memory>
#include <string>
#include <vector>

#include "Checks.h"
#include "QelTypes.h"
#include "Tavrin.h"
#include "Trial.h"

namespace BoardCheck
{
// The loaded library.
class Library
{
public:
    explicit Library(Trial& roTrial);
    ~Library();
    Library(const Library&)            = delete;
    Library& operator=(const Library&) = delete;

private:
    Trial& m_roTrial;
};

// The loaded library, and a device of it. The objects below belong to it, and it keeps what they need: the trial and the
// timings.
class Device
{
public:
    Device(Trial& roTrial, const STrialInput& roInput);

    // How many outputs the library reports. RequireOutputs ends the trial if there are none.
    KUINT32 CountOutputs() const;
    KUINT32 RequireOutputs() const;

    // The value of a register of the board, by its number.
    KUINT32 ReadRegister(KUINT32 uiRegister) const;

    Trial&                    m_roTrial;
    const tagTVideo_VidParam& m_roVidParam;

private:
    Library m_oLibrary;

public:
    const TDevice_Handle m_hDev;
};

// A buffer of format 52 and the size of the timings.
class Buffer
{
public:
    explicit Buffer(const Device& roDevice);
    ~Buffer();
    Buffer(const Buffer&)            = delete;
    Buffer& operator=(const Buffer&) = delete;

    TBuffer_Handle Get() const { return m_hBuffer; }

    // Gives the buffer back now, so that the trial can tell whether that works. The destructor then does nothing.
    void Destroy();

    // The layout of the planes. Ends the trial if the rows of plane 0 are not safe to be written.
    tagTBuffer_PlaneInfo RequireRows() const;

    const Device& m_roDevice;

private:
    TBuffer_Handle m_hBuffer = nullptr;
};

// An access period of a buffer, whose rows are safe to be written.
class Access
{
public:
    explicit Access(const Buffer& roBuffer);
    ~Access();
    Access(const Access&)            = delete;
    Access& operator=(const Access&) = delete;

    // Ends the period now. The destructor then does nothing.
    void End();

    // The first pixel of a row of plane 0, which is as wide as the timings. Valid until the end.
    KUINT32* GetRow(KUINT32 uiRow) const;

    const tagTBuffer_PlaneInfo m_oInfo;
    KUINTPTR                   m_auiPlanes[3] = {};

private:
    Trial&         m_roTrial;
    TBuffer_Handle m_hBuffer;  // null after the end
};

// An output of the device, which may show a buffer.
class Output
{
public:
    Output(const Device& roDevice, KUINT32 uiOutput) : m_roDevice(roDevice), m_uiOutput(uiOutput) {}
    ~Output();
    Output(const Output&)            = delete;
    Output& operator=(const Output&) = delete;

    // Each gets the handle if there is none. TryEnable returns what the library returned; a failure does not end the trial.
    void    Enable(const Buffer& roBuffer);
    TStatus TryEnable(const Buffer& roBuffer);
    void    Disable();

    // Gives the handle back. The output stays as it is.
    void Release();

private:
    TStatus     GetHandle();
    void        Check(TStatus eStatus);
    std::string NameOutput() const;

    const Device&    m_roDevice;
    KUINT32          m_uiOutput;
    TVideoOut_Handle m_hVideoOut = nullptr;
    bool             m_bEnabled  = false;
};

using Outputs = std::vector<std::unique_ptr<Output>>;

// Every output shows the buffer, and its handle is kept. A device without outputs ends the trial.
Outputs EnableEveryOutput(const Buffer& roBuffer);

// As EnableEveryOutput, but the handles are released.
Outputs ShowOnEveryOutput(const Buffer& roBuffer);

// Register 6908, which gets back what it held.
class RunningRegister
{
public:
    explicit RunningRegister(const Device& roDevice);
    ~RunningRegister();
    RunningRegister(const RunningRegister&)            = delete;
    RunningRegister& operator=(const RunningRegister&) = delete;

    void Write(KUINT32 uiValue);

private:
    const Device& m_roDevice;
    KUINT32       m_uiHeld;
};
}

#endif
