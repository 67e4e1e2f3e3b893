// What a board knows: one file with its devices, their FPGAs and registers, and what each output shows. Devices and FPGAs
// stay as they were born.
//
// The file is read and written by whole records and never mapped, and nothing in it is believed unseen: whoever cuts or
// overwrites it underneath gets a BoardError out of the next call, not a signal. Records of outputs are read and written
// inside a transaction; a register is one aligned word, which needs none. The bytes of the file are locked too (BoardLocks).
#ifndef BOARD_STATE_H
#define BOARD_STATE_H

#include <array>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "BoardFolder.h"
#include "Tavrin.h"

namespace SoftwareBoard
{
class Transaction;

constexpr KUINT32 MAX_DEVICES    = 8;
constexpr KUINT32 MAX_OUTPUTS    = 16;  // of a device, as the next two
constexpr KUINT32 MAX_FPGAS      = 16;
constexpr KUINT32 REGISTER_COUNT = 16384;

constexpr KUINT32 PROGRESS_BAR_RUNNING_REGISTER = 6908;
constexpr KUINT32 PROGRESS_REGISTER             = 7932;  // its low byte is the percentage

// What a new board is made of; every device gets the same.
struct SBoardPlan
{
    KUINT32                         uiDeviceCount = 1;
    KUINT32                         uiOutputCount = 2;
    std::vector<tagTBoard_FpgaInfo> aoFpgas;
};

tagTBoard_FpgaInfo MakeFpga(KUINT16 ui16DevID, KUINT8 uiMajor, KUINT8 uiMinor, KUINT16 uiBuild, KUINT32 uiI2cAddress = 0xd0,
                            KUINT16 ui16VendorID = 0xc3e7);

// One device, two outputs, and an FPGA whose firmware passes the tool's check.
SBoardPlan DefaultPlan();

struct SDeviceRecord
{
    KUINT32                                   uiOutputCount = 0;
    KUINT32                                   uiFpgaCount   = 0;
    std::array<tagTBoard_FpgaInfo, MAX_FPGAS> aoFpgas       = {};
};

struct SOutputRecord
{
    KUINT32            bEnabled       = FALSE;
    KINT32             iHolderPid     = 0;  // counts only while the output's lock is held
    tagTVideo_VidParam oVidParam      = {};
    KUINT32            uiPixelFile    = 0;  // the number of the file that it shows,
    KUINT32            uiBufferWidth  = 0;  // laid out as R8G8B8A8 of this size
    KUINT32            uiBufferHeight = 0;
    KUINT32            uiGeneration   = 0;  // one more at every write, which counts it itself
};

enum class EVerdict : KUINT32
{
    Awaited,
    Shown,
    Refused,
};

// What the display process says of an output, as of one generation of it; of another it says nothing.
struct SVerdict
{
    KUINT32               uiGeneration = 0;
    EVerdict              eVerdict     = EVerdict::Awaited;
    std::array<char, 40>  acConnector  = {};  // such as HDMI-A-1; empty when the output has none
    std::array<char, 128> acReason     = {};  // why it is refused; both texts are cut where they are too long
};

class BoardState
{
public:
    static constexpr char FILE_NAME[] = "board.state";

    // The state in the folder, or nothing when there is no such file. Throws BoardError for a file that is not a board's
    // state; whether it is damaged is asked by every call that reads it.
    static std::optional<BoardState> Find(const BoardFolder& roFolder);
    // Whether the file begins as the state of a board does.
    static bool IsOurs(const FileDescriptor& roFile);
    // Makes roFile the state of a new board, whatever it held. All its blocks are there, so that a full disk cannot keep a
    // register or an output from being written later.
    static BoardState Write(FileDescriptor oFile, std::string strPath, const SBoardPlan& roPlan);

    KUINT32       GetDeviceCount() const;
    SDeviceRecord ReadDevice(KUINT32 uiDevice) const;

    SOutputRecord ReadOutput(const Transaction&, KUINT32 uiDevice, KUINT32 uiOutput) const;
    KUINT32       WriteOutput(const Transaction&, KUINT32 uiDevice, KUINT32 uiOutput,
                              const SOutputRecord& roOutput);                // the new generation
    KUINT32       ReadGeneration(KUINT32 uiDevice, KUINT32 uiOutput) const;  // one word, which needs no transaction

    // The numbers of the pixel files that outputs show, also those of devices whose record is damaged.
    std::set<KUINT32> ReadShownPixelFiles(const Transaction&) const;

    SVerdict ReadVerdict(const Transaction&, KUINT32 uiDevice, KUINT32 uiOutput) const;
    void     WriteVerdict(const Transaction&, KUINT32 uiDevice, KUINT32 uiOutput, KUINT32 uiGeneration, EVerdict eVerdict,
                          const std::string& strConnector, const std::string& strReason = "");

    // Another board was made in its place, or it was removed.
    bool IsReplaced() const { return m_oFile.IsRemoved(); }

    const FileDescriptor& GetFile() const { return m_oFile; }

    KUINT32 ReadRegister(KUINT32 uiDevice, KUINT32 uiRegister) const;
    void    WriteRegister(KUINT32 uiDevice, KUINT32 uiRegister, KUINT32 uiValue);
    void    WriteRegisterLowByte(KUINT32 uiDevice, KUINT32 uiRegister, KUINT8 uiValue);

private:
    BoardState(FileDescriptor oFile, std::string strPath) : m_oFile(std::move(oFile)), m_strPath(std::move(strPath)) {}

    // The number of devices as it stands in the file, once that is known to be a board's of this layout.
    KUINT32                 CheckIsOurs() const;
    void                    CheckDevice(KUINT32 uiDevice) const;
    template <class T> T    Read(off_t iOffset) const;
    template <class T> void Write(off_t iOffset, const T& roRecord);

    FileDescriptor m_oFile;
    std::string    m_strPath;
};
}

#endif
