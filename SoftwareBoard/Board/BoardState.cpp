#include "BoardState.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdio>
#include <type_traits>
#include <utility>

#include "BoardError.h"
#include "PlaneLayout.h"

namespace SoftwareBoard
{
namespace
{
constexpr std::array<char, 8> OUR_MAGIC  = {'T', 'A', 'V', 'R', 'I', 'N', 'B', 'D'};
constexpr KUINT32             OUR_LAYOUT = 5;

// The registers of a run stand in the label. So one system call reads them and sees that the file is whole.
constexpr KUINT32 LABEL_REGISTERS[] = {REG_PROGRESS_BAR_RUNNING, REG_PROGRESS_UPDATE};
}

// The last thing in the file. If the file is cut, the label is not where it was.
struct SLabel
{
    std::array<char, 8>                                                      acMagic       = OUR_MAGIC;
    KUINT32                                                                  uiLayout      = OUR_LAYOUT;
    KUINT32                                                                  uiDeviceCount = 0;
    std::array<std::array<KUINT32, std::size(LABEL_REGISTERS)>, MAX_DEVICES> aauiRegisters = {};
};

namespace
{
// What the file holds of one output.
struct SOutputPlace
{
    SOutputRecord oRecord;
    SVerdict      oVerdict;
};
using OutputPage = std::array<SOutputPlace, MAX_OUTPUTS>;

// The file holds for each device a page with its record, a page with its outputs, and its registers; then the label. No
// record crosses a page, so a killed writer never leaves half a record. Transactions keep readers out.
constexpr off_t PAGE_IN_BYTES = 4096;
constexpr off_t DEVICE_STRIDE = 2 * PAGE_IN_BYTES + off_t{REGISTER_COUNT} * 4;
static_assert(sizeof(SLabel) <= PAGE_IN_BYTES && sizeof(SDeviceRecord) <= PAGE_IN_BYTES &&
              sizeof(OutputPage) == PAGE_IN_BYTES);
static_assert(sizeof(SOutputRecord) == 80 && std::endian::native == std::endian::little);

constexpr off_t DeviceOffset(KUINT32 uiDevice)
{
    return DEVICE_STRIDE * off_t{uiDevice};
}
constexpr off_t OutputOffset(KUINT32 uiDevice, KUINT32 uiOutput)
{
    return DeviceOffset(uiDevice) + PAGE_IN_BYTES + off_t{sizeof(SOutputPlace)} * off_t{uiOutput};
}
constexpr off_t GenerationOffset(KUINT32 uiDevice, KUINT32 uiOutput)
{
    return OutputOffset(uiDevice, uiOutput) + off_t{offsetof(SOutputRecord, uiGeneration)};
}
constexpr off_t VerdictOffset(KUINT32 uiDevice, KUINT32 uiOutput)
{
    return OutputOffset(uiDevice, uiOutput) + off_t{offsetof(SOutputPlace, oVerdict)};
}

// The place of a register in the label; nothing if it has none there.
constexpr std::optional<size_t> FindInLabel(KUINT32 uiRegister)
{
    const auto* const p = std::find(std::begin(LABEL_REGISTERS), std::end(LABEL_REGISTERS), uiRegister);
    return p != std::end(LABEL_REGISTERS) ? std::optional<size_t>(p - std::begin(LABEL_REGISTERS)) : std::nullopt;
}

// Where the label is in a file of that size; negative if it has no room.
off_t LabelOffset(const FileDescriptor& roFile)
{
    struct stat oStat = {};
    return fstat(roFile.Get(), &oStat) == 0 ? oStat.st_size - off_t{sizeof(SLabel)} : -1;
}

bool IsName(const TSTR64& szName)
{
    const char* const pszEnd = std::find(std::begin(szName), std::end(szName), '\0');
    return pszEnd != std::end(szName) &&
           std::all_of(std::begin(szName), pszEnd, [](char c) { return c >= ' ' && c <= '~'; });
}
}

tagTBoard_FpgaInfo MakeFpga(KUINT16 ui16DevID, KUINT8 uiMajor, KUINT8 uiMinor, KUINT16 uiBuild, KUINT32 uiI2cAddress,
                            KUINT16 ui16VendorID)
{
    tagTBoard_FpgaInfo oFpga = {};
    oFpga.uiSize             = sizeof(oFpga);
    oFpga.ui16DevID          = ui16DevID;
    oFpga.ui16VendorID       = ui16VendorID;
    oFpga.uiI2cAddress       = uiI2cAddress;
    oFpga.uiVersionMajor     = uiMajor;
    oFpga.uiVersionMinor     = uiMinor;
    oFpga.uiVersionBuild     = uiBuild;
    return oFpga;
}

SBoardPlan DefaultPlan()
{
    SBoardPlan oPlan;
    oPlan.aoFpgas = {MakeFpga(0x0003, 1, 33, 0)};
    return oPlan;
}

std::optional<SOutputRecord> MakeOutputRecord(const tagTVideo_VidParam& roVidParam, const SPlaneLayout& roLayout,
                                              KUINT32 uiPixelFile)
{
    // An output shows only this format, and no size that a buffer cannot have.
    if (roLayout.ePixelFormat != TPixelFormat_R8G8B8A8 ||
        !LayOutPlane(TPixelFormat_R8G8B8A8, roVidParam.uiHActive, roVidParam.uiVActive))
        return std::nullopt;
    SOutputRecord oOutput;
    oOutput.bEnabled       = TRUE;
    oOutput.iHolderPid     = getpid();
    oOutput.oVidParam      = roVidParam;
    oOutput.uiPixelFile    = uiPixelFile;
    oOutput.uiBufferWidth  = roLayout.uiWidth;
    oOutput.uiBufferHeight = roLayout.uiHeight;
    return oOutput;
}

std::optional<BoardState> BoardState::Find(const BoardFolder& roFolder)
{
    FileDescriptor oFile = roFolder.OpenFile(FILE_NAME, O_RDWR);
    if (!oFile)
        return std::nullopt;
    const off_t iLabel = LabelOffset(oFile);
    BoardState  oState(std::move(oFile), roFolder.PathOf(FILE_NAME), iLabel);
    oState.ReadLabel();  // throws if it is none
    return oState;
}

bool BoardState::IsOurs(const FileDescriptor& roFile)
{
    std::array<char, 8> acMagic = {};
    return pread(roFile.Get(), acMagic.data(), acMagic.size(), LabelOffset(roFile)) == ssize_t{sizeof(acMagic)} &&
           acMagic == OUR_MAGIC;
}

BoardState BoardState::Write(FileDescriptor oFile, std::string strPath, const SBoardPlan& roPlan)
{
    const off_t iLabel = DeviceOffset(roPlan.uiDeviceCount);
    BoardState  oNew(std::move(oFile), std::move(strPath), iLabel);
    if (ftruncate(oNew.m_oFile.Get(), 0) != 0 || fchmod(oNew.m_oFile.Get(), 0600) != 0)
        ThrowSystemError(oNew.m_strPath, "ftruncate or fchmod");
    if (const int iError = BoardFolder::Allocate(oNew.m_oFile, iLabel + off_t{sizeof(SLabel)}))
        ThrowSystemError(oNew.m_strPath, "posix_fallocate", iError);

    SDeviceRecord oDevice;
    oDevice.uiOutputCount = roPlan.uiOutputCount;
    for (tagTBoard_FpgaInfo oFpga : roPlan.aoFpgas)
    {
        std::snprintf(oFpga.szName, sizeof(oFpga.szName), "FPGA %u", oDevice.uiFpgaCount);
        oDevice.aoFpgas.at(oDevice.uiFpgaCount++) = oFpga;
    }
    for (KUINT32 uiDevice = 0; uiDevice < roPlan.uiDeviceCount; ++uiDevice)
        oNew.Write(DeviceOffset(uiDevice), oDevice);
    oNew.Write(iLabel, SLabel{.uiDeviceCount = roPlan.uiDeviceCount});
    return oNew;
}

SLabel BoardState::ReadLabel() const
{
    struct
    {
        SLabel oLabel        = {};
        char   cBehindTheEnd = 0;
    } oEnd;
    static_assert(offsetof(decltype(oEnd), cBehindTheEnd) == sizeof(SLabel));
    const ssize_t iRead = pread(m_oFile.Get(), &oEnd, sizeof(SLabel) + 1, m_iLabel);
    if (m_iLabel < 0 || (iRead == ssize_t{sizeof(SLabel)} && oEnd.oLabel.acMagic != OUR_MAGIC))
        throw BoardError(m_strPath + ": not the state of a board; remove it, or set TAVRIN_BOARD to another folder");
    if (iRead < 0)
        ThrowSystemError(m_strPath, "pread");
    if (iRead != ssize_t{sizeof(SLabel)})
        throw BoardError(m_strPath + ": damaged (size of the file); make the board anew");
    if (oEnd.oLabel.uiLayout != OUR_LAYOUT)
        throw BoardError(m_strPath + ": a board of layout " + std::to_string(oEnd.oLabel.uiLayout) + ", where " +
                         std::to_string(OUR_LAYOUT) + " is known; remove it, or set TAVRIN_BOARD to another folder");
    return oEnd.oLabel;
}

SLabel BoardState::ReadLabelOf(KUINT32 uiDevice) const
{
    const auto oLabel = ReadLabel();
    if (oLabel.uiDeviceCount == 0 || oLabel.uiDeviceCount > MAX_DEVICES || m_iLabel != DeviceOffset(oLabel.uiDeviceCount))
        throw BoardError(m_strPath + ": damaged (number of devices or size of the file); make the board anew");
    if (uiDevice >= oLabel.uiDeviceCount)
        throw BoardError(m_strPath + ": there is no device " + std::to_string(uiDevice) + ", the board has " +
                         std::to_string(oLabel.uiDeviceCount) + ", numbered from 0");
    return oLabel;
}

KUINT32 BoardState::GetDeviceCount() const
{
    return ReadLabelOf(0).uiDeviceCount;
}

void BoardState::CheckDevice(KUINT32 uiDevice) const
{
    ReadLabelOf(uiDevice);
}

SDeviceRecord BoardState::ReadDevice(KUINT32 uiDevice) const
{
    CheckDevice(uiDevice);
    const auto oDevice = Read<SDeviceRecord>(DeviceOffset(uiDevice));
    if (oDevice.uiOutputCount > MAX_OUTPUTS || oDevice.uiFpgaCount > MAX_FPGAS ||
        !std::all_of(oDevice.aoFpgas.begin(), oDevice.aoFpgas.begin() + oDevice.uiFpgaCount,
                     [](const tagTBoard_FpgaInfo& ro) { return ro.uiSize == sizeof(ro) && IsName(ro.szName); }))
        throw BoardError(m_strPath + ": damaged (record of device " + std::to_string(uiDevice) + "); make the board anew");
    return oDevice;
}

SOutputRecord BoardState::ReadOutput(const Transaction&, KUINT32 uiDevice, KUINT32 uiOutput) const
{
    if (const KUINT32 uiCount = ReadDevice(uiDevice).uiOutputCount; uiOutput >= uiCount)
        throw BoardError(m_strPath + ": device " + std::to_string(uiDevice) + " has no output " + std::to_string(uiOutput) +
                         ", it has " + std::to_string(uiCount) + ", numbered from 0");
    const auto oOutput = Read<SOutputRecord>(OutputOffset(uiDevice, uiOutput));
    const bool bShows  = LayOutPlane(TPixelFormat_R8G8B8A8, oOutput.uiBufferWidth, oOutput.uiBufferHeight) &&
                        LayOutPlane(TPixelFormat_R8G8B8A8, oOutput.oVidParam.uiHActive, oOutput.oVidParam.uiVActive);
    if (oOutput.bEnabled > TRUE || (oOutput.bEnabled == TRUE && !bShows))
        throw BoardError(m_strPath + ": damaged (record of output " + std::to_string(uiOutput) + " of device " +
                         std::to_string(uiDevice) + "); make the board anew");
    return oOutput;
}

SOutputChange BoardState::WriteOutput(const Transaction&, KUINT32 uiDevice, KUINT32 uiOutput, const SOutputRecord& roOutput)
{
    CheckDevice(uiDevice);
    auto                oPage    = Read<OutputPage>(OutputOffset(uiDevice, 0));
    SOutputRecord&      roRecord = oPage.at(uiOutput).oRecord;
    const SOutputRecord oBefore  = std::exchange(roRecord, roOutput);
    roRecord.uiGeneration        = oBefore.uiGeneration + 1;
    Write(OutputOffset(uiDevice, uiOutput), roRecord);
    const bool bLeft = oBefore.bEnabled != FALSE && std::none_of(oPage.begin(), oPage.end(), [&](const SOutputPlace& ro) {
                           return ro.oRecord.bEnabled != FALSE && ro.oRecord.uiPixelFile == oBefore.uiPixelFile;
                       });
    return {roRecord.uiGeneration, bLeft};
}

KUINT32 BoardState::ReadGeneration(KUINT32 uiDevice, KUINT32 uiOutput) const
{
    CheckDevice(uiDevice);
    return Read<KUINT32>(GenerationOffset(uiDevice, uiOutput));
}

std::set<KUINT32> BoardState::ReadShownPixelFiles(const Transaction&) const
{
    std::set<KUINT32> oShown;
    const KUINT32     uiCount = GetDeviceCount();
    for (KUINT32 uiDevice = 0; uiDevice < uiCount; ++uiDevice)
    {
        for (const SOutputPlace& roPlace : Read<OutputPage>(OutputOffset(uiDevice, 0)))
        {
            if (roPlace.oRecord.bEnabled != FALSE)
                oShown.insert(roPlace.oRecord.uiPixelFile);
        }
    }
    return oShown;
}

SVerdict BoardState::ReadVerdict(const Transaction&, KUINT32 uiDevice, KUINT32 uiOutput) const
{
    CheckDevice(uiDevice);
    auto oVerdict               = Read<SVerdict>(VerdictOffset(uiDevice, uiOutput));
    oVerdict.acConnector.back() = '\0';
    oVerdict.acReason.back()    = '\0';
    return oVerdict;
}

void BoardState::WriteVerdict(const Transaction&, KUINT32 uiDevice, KUINT32 uiOutput, KUINT32 uiGeneration,
                              EVerdict eVerdict, const std::string& strConnector, const std::string& strReason)
{
    CheckDevice(uiDevice);
    SVerdict oVerdict{uiGeneration, eVerdict};
    strConnector.copy(oVerdict.acConnector.data(), oVerdict.acConnector.size() - 1);
    strReason.copy(oVerdict.acReason.data(), oVerdict.acReason.size() - 1);
    Write(VerdictOffset(uiDevice, uiOutput), oVerdict);
}

KUINT32 BoardState::ReadRegister(KUINT32 uiDevice, KUINT32 uiRegister) const
{
    const auto oLabel = ReadLabelOf(uiDevice);
    const auto ouiAt  = FindInLabel(uiRegister);
    return ouiAt ? oLabel.aauiRegisters.at(uiDevice).at(*ouiAt) : Read<KUINT32>(RegisterOffset(uiDevice, uiRegister));
}

off_t BoardState::RegisterOffset(KUINT32 uiDevice, KUINT32 uiRegister) const
{
    const auto ouiAt = FindInLabel(uiRegister);
    if (ouiAt)
        return m_iLabel + static_cast<off_t>(offsetof(SLabel, aauiRegisters) + sizeof(SLabel::aauiRegisters[0]) * uiDevice +
                                             sizeof(KUINT32) * *ouiAt);
    return DeviceOffset(uiDevice) + 2 * PAGE_IN_BYTES + 4 * off_t{uiRegister};
}

template <class T> void BoardState::SetRegister(KUINT32 uiDevice, KUINT32 uiRegister, T tValue)
{
    CheckDevice(uiDevice);
    Write(RegisterOffset(uiDevice, uiRegister), tValue);
}

void BoardState::WriteRegister(KUINT32 uiDevice, KUINT32 uiRegister, KUINT32 uiValue)
{
    SetRegister(uiDevice, uiRegister, uiValue);
}

void BoardState::WriteRegisterLowByte(KUINT32 uiDevice, KUINT32 uiRegister, KUINT8 uiValue)
{
    SetRegister(uiDevice, uiRegister, uiValue);
}

template <class T> T BoardState::Read(off_t iOffset) const
{
    static_assert(std::is_trivially_copyable_v<T>);
    T             oRecord = {};
    const ssize_t iRead   = pread(m_oFile.Get(), &oRecord, sizeof(T), iOffset);
    if (iRead < 0)
        ThrowSystemError(m_strPath, "pread");
    if (iRead != ssize_t{sizeof(T)})
        throw BoardError(m_strPath + ": cut short, so not the state of a board; remove it");
    return oRecord;
}

template <class T> void BoardState::Write(off_t iOffset, const T& roRecord)
{
    static_assert(std::is_trivially_copyable_v<T>);
    const ssize_t iWritten = pwrite(m_oFile.Get(), &roRecord, sizeof(T), iOffset);
    if (iWritten != ssize_t{sizeof(T)})
        ThrowSystemError(m_strPath, "pwrite", iWritten < 0 ? errno : ENOSPC);
}
}
