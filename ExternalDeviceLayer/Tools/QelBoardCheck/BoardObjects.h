// What a trial makes on a board. Each object takes itself back when it goes. A call that fails ends the trial.
#ifndef BOARD_OBJECTS_H
#define BOARD_OBJECTS_H

#include <memory>
#include <vector>

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
};

// The loaded library, and a device of it.
class Device
{
public:
    Device(Trial& roTrial, KUINT32 uiDevice);

private:
    Library m_oLibrary;

public:
    const TDevice_Handle m_hDev;
};

// A buffer of format 52.
class Buffer
{
public:
    Buffer(Trial& roTrial, const Device& roDevice, const tagTVideo_VidParam& roVidParam);
    ~Buffer();
    Buffer(const Buffer&)            = delete;
    Buffer& operator=(const Buffer&) = delete;

    TBuffer_Handle       Get() const { return m_hBuffer; }
    void                 Destroy();
    tagTBuffer_PlaneInfo GetPlaneInfo() const;  // ends the trial if the rows of the planes cannot be told from it

private:
    Trial&         m_roTrial;
    TBuffer_Handle m_hBuffer = nullptr;
};

// An access period of a buffer.
class Access
{
public:
    explicit Access(Trial& roTrial, const Buffer& roBuffer);
    ~Access();
    Access(const Access&)            = delete;
    Access& operator=(const Access&) = delete;

    void     End();
    KUINT32* GetRow(KUINT32 uiRow) const;

    tagTBuffer_PlaneInfo m_oInfo;
    KUINTPTR             m_auiPlanes[3] = {};

private:
    Trial&         m_roTrial;
    TBuffer_Handle m_hBuffer;  // null after the end
};

// An output that shows a buffer.
class Output
{
public:
    Output(Trial& roTrial, const Device& roDevice, KUINT32 uiOutput)
        : m_roTrial(roTrial), m_hDev(roDevice.m_hDev), m_uiOutput(uiOutput)
    {}
    ~Output();
    Output(const Output&)            = delete;
    Output& operator=(const Output&) = delete;

    // Each gets the handle if there is none.
    void    Enable(const tagTVideo_VidParam& roVidParam, const Buffer& roBuffer);
    TStatus TryEnable(const tagTVideo_VidParam& roVidParam, const Buffer& roBuffer);
    void    Disable();

    void Release();

private:
    TStatus GetHandle();
    void    Check(TStatus eStatus);

    Trial&           m_roTrial;
    TDevice_Handle   m_hDev;
    KUINT32          m_uiOutput;
    TVideoOut_Handle m_hVideoOut = nullptr;
    bool             m_bEnabled  = false;
};

KUINT32 ReadRegister(Trial& roTrial, const Device& roDevice, KUINT32 uiRegister);

// Register 6908, which gets back what it held.
class RunningRegister
{
public:
    RunningRegister(Trial& roTrial, const Device& roDevice);
    ~RunningRegister();
    RunningRegister(const RunningRegister&)            = delete;
    RunningRegister& operator=(const RunningRegister&) = delete;

    void Write(KUINT32 uiValue);

private:
    Trial&        m_roTrial;
    const Device& m_roDevice;
    KUINT32       m_uiHeld;
};

using Outputs = std::vector<std::unique_ptr<Output>>;

KUINT32 CountOutputs(Trial& roTrial, const Device& roDevice);

// Every output of the device shows the buffer, and its handle is kept. Returns nothing for a device without outputs.
Outputs EnableEveryOutput(Trial& roTrial, const Device& roDevice, const tagTVideo_VidParam& roVidParam,
                          const Buffer& roBuffer);

// As EnableEveryOutput, but the handles are released, and a device without outputs ends the trial.
Outputs ShowOnEveryOutput(Trial& roTrial, const Device& roDevice, const tagTVideo_VidParam& roVidParam,
                          const Buffer& roBuffer);
}

#endif
