// The state of a board in one file: its devices, their FPGAs and registers, and what each output shows. Devices and FPGAs do
// not change after the board was made.
//
// The file is read and written in whole records and never mapped, and every call checks the counts and sizes. So if the file
// is cut or overwritten during use, the next call throws BoardError; there is no signal. Records of outputs are read and
// written inside a transaction. A register is one aligned word and needs none. The locks are on this file too (BoardLocks).
#ifndef BOARD_STATE_H
#define BOARD_STATE_H

#include <array>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "BoardFolder.h"
#include "BoardRegisters.h"
#include "Tavrin.h"

namespace SoftwareBoard
{
class Transaction;
struct SPlaneLayout;
struct SLabel;  // what the file says of itself

constexpr KUINT32 MAX_DEVICES    = 8;
constexpr KUINT32 MAX_OUTPUTS    = 16;  // of a device, like the next two
constexpr KUINT32 MAX_FPGAS      = 16;
constexpr KUINT32 REGISTER_COUNT = 16384;

// What a new board consists of. All devices are alike.
struct SBoardPlan
{
    KUINT32                         uiDeviceCount = 1;
    KUINT32                         uiOutputCount = 2;
    std::vector<tagTBoard_FpgaInfo> aoFpgas;
};

tagTBoard_FpgaInfo MakeFpga(KUINT16 ui16DevID, KUINT8 uiMajor, KUINT8 uiMinor, KUINT16 uiBuild, KUINT32 uiI2cAddress = 0xd0,
                            KUINT16 ui16VendorID = 0xc3e7);

// One device with two outputs and one FPGA, whose firmware the tool accepts.
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
    KINT32             iHolderPid     = 0;  // valid only while the output's lock is held
    tagTVideo_VidParam oVidParam      = {};
    KUINT32            uiPixelFile    = 0;  // number of the file that the output shows
    KUINT32            uiBufferWidth  = 0;  // pixels; the format is R8G8B8A8
    KUINT32            uiBufferHeight = 0;
    KUINT32            uiGeneration   = 0;  // WriteOutput adds one
};

// What an output stands for that shows these pixels of this process. Nothing if the board cannot show such a buffer or mode.
std::optional<SOutputRecord> MakeOutputRecord(const tagTVideo_VidParam& roVidParam, const SPlaneLayout& roLayout,
                                              KUINT32 uiPixelFile);

struct SOutputChange
{
    KUINT32 uiGeneration;    // the new one
    bool    bPixelFileLeft;  // the output showed a pixel file that no output of its device shows any more
};

enum class EVerdict : KUINT32
{
    Awaited,
    Shown,
    Refused,
    NoDisplay,  // accepted, though no display is connected for the output; it is dark
};

// What the display process says about one generation of an output. It is void for any other generation.
struct SVerdict
{
    KUINT32               uiGeneration = 0;
    EVerdict              eVerdict     = EVerdict::Awaited;
    std::array<char, 40>  acConnector  = {};  // such as HDMI-A-1; empty if the output has none
    std::array<char, 128> acReason     = {};  // why it is refused or dark; a text that is too long is cut
};

class BoardState
{
public:
    static constexpr char FILE_NAME[] = "board.state";

    // Opens the state in the folder; nothing if there is no such file. Throws BoardError if the file is not a board's state.
    // The calls that read it throw BoardError if it is damaged.
    static std::optional<BoardState> Find(const BoardFolder& roFolder);
    // Whether the file ends like the state of a board.
    static bool IsOurs(const FileDescriptor& roFile);
    // Overwrites oFile with the state of a new board. Allocates all its blocks, so that a full disk cannot keep a register
    // or an output from being written later.
    static BoardState Write(FileDescriptor oFile, std::string strPath, const SBoardPlan& roPlan);

    KUINT32       GetDeviceCount() const;
    SDeviceRecord ReadDevice(KUINT32 uiDevice) const;

    SOutputRecord ReadOutput(const Transaction&, KUINT32 uiDevice, KUINT32 uiOutput) const;
    SOutputChange WriteOutput(const Transaction&, KUINT32 uiDevice, KUINT32 uiOutput, const SOutputRecord& roOutput);
    KUINT32       ReadGeneration(KUINT32 uiDevice, KUINT32 uiOutput) const;  // one word; needs no transaction

    // The numbers of the pixel files that outputs show, including outputs of devices whose record is damaged.
    std::set<KUINT32> ReadShownPixelFiles(const Transaction&) const;

    SVerdict ReadVerdict(const Transaction&, KUINT32 uiDevice, KUINT32 uiOutput) const;
    void     WriteVerdict(const Transaction&, KUINT32 uiDevice, KUINT32 uiOutput, KUINT32 uiGeneration, EVerdict eVerdict,
                          const std::string& strConnector, const std::string& strReason = "");

    // Whether another board was made in its place, or the file was removed.
    bool IsReplaced() const { return m_oFile.IsRemoved(); }

    const FileDescriptor& GetFile() const { return m_oFile; }

    KUINT32 ReadRegister(KUINT32 uiDevice, KUINT32 uiRegister) const;  // one system call for 6908 and 7932
    void    WriteRegister(KUINT32 uiDevice, KUINT32 uiRegister, KUINT32 uiValue);
    void    WriteRegisterLowByte(KUINT32 uiDevice, KUINT32 uiRegister, KUINT8 uiValue);

private:
    BoardState(FileDescriptor oFile, std::string strPath, off_t iLabel)
        : m_oFile(std::move(oFile)), m_strPath(std::move(strPath)), m_iLabel(iLabel)
    {}

    // Throws BoardError unless the file is a board's and has this layout. ReadLabelOf throws as well if the file is damaged
    // or has no such device.
    SLabel ReadLabel() const;
    SLabel ReadLabelOf(KUINT32 uiDevice) const;
    void   CheckDevice(KUINT32 uiDevice) const;

    off_t                   RegisterOffset(KUINT32 uiDevice, KUINT32 uiRegister) const;
    template <class T> void SetRegister(KUINT32 uiDevice, KUINT32 uiRegister, T tValue);

    template <class T> T    Read(off_t iOffset) const;
    template <class T> void Write(off_t iOffset, const T& roRecord);

    FileDescriptor m_oFile;
    std::string    m_strPath;
    off_t          m_iLabel;  // of the end of the file
};
}

#endif
