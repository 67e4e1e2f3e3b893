// What a call costs more when it is recorded: the same calls of the board's library, through the recording library and
// without it, but with a write of the same line.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "BenchmarkTable.h"
#include "CallsInFlight.h"
#include "Tavrin.h"

namespace
{
constexpr int CALLS_A_WORK = 100;

// A client of one library, with an output that it may enable.
struct Client
{
    explicit Client(const char* pszLibrary) : pLibrary(dlopen(pszLibrary, RTLD_NOW | RTLD_LOCAL))
    {
        hDev = Find<decltype(&Tavrin_GetDevice)>("Tavrin_GetDevice")(0);
        Find<decltype(&TBuffer_CreateVideo)>("TBuffer_CreateVideo")(hDev, TPixelFormat_R8G8B8A8, 64, 64, &hBuffer);
        Find<decltype(&TVideoOut_GetHandle)>("TVideoOut_GetHandle")(hDev, 0, TAccessMode_READWRITE, &hVideoOut);
    }
    template <class T> T Find(const char* pszName) const { return reinterpret_cast<T>(dlsym(pLibrary, pszName)); }

    void*                         pLibrary;
    TDevice_Handle                hDev        = nullptr;
    TBuffer_Handle                hBuffer     = nullptr;
    TVideoOut_Handle              hVideoOut   = nullptr;
    decltype(&TBoard_RegRead)     pfnRegRead  = Find<decltype(&TBoard_RegRead)>("TBoard_RegRead");
    decltype(&TVideoOut_Enable)   pfnEnable   = Find<decltype(&TVideoOut_Enable)>("TVideoOut_Enable");
    decltype(&TBoard_GetFpgaInfo) pfnFpgaInfo = Find<decltype(&TBoard_GetFpgaInfo)>("TBoard_GetFpgaInfo");
};
}

int main(int iArguments, char** ppszArguments)
{
    std::string strFolder = "/tmp/record-benchmark-XXXXXX";
    if (mkdtemp(strFolder.data()) == nullptr)
        return 1;
    const std::string strRecord = strFolder + "/record";
    std::ofstream(strRecord) << "{\"record\":1,\"library\":\"\",\"command\":[]}\n";
    setenv("TAVRIN_BOARD", strFolder.c_str(), 1);
    setenv("TAVRIN_RECORD_FILE", strRecord.c_str(), 1);
    setenv("TAVRIN_RECORD_LIBRARY", BOARD_LIBRARY, 1);
    const SoftwareBoard::Recorder::CallsInFlight oInFlight;
    setenv(SoftwareBoard::Recorder::RECORD_CALLS_VARIABLE, oInFlight.GetPath().c_str(), 1);
    const Client oBare(BOARD_LIBRARY), oRecorded(RECORDING_LIBRARY);
    const int    iFd = open((strFolder + "/lines").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);

    BenchmarkTable oTable(iArguments, ppszArguments);
    // fCall makes the call with a client. uiLine is the length of its line in the record.
    const auto fCompare = [&](const char* pszWhat, size_t uiLine, auto fCall) {
        const std::string strLine(uiLine, 'x');
        const auto        fMeasure = [&](const Client& roClient, bool bWrite) {
            const double dStart = ThreadTimeNs();
            for (int i = 0; i < CALLS_A_WORK; ++i)
            {
                fCall(roClient);
                if (bWrite && write(iFd, strLine.data(), uiLine) < 0)
                    std::exit(1);
            }
            return (ThreadTimeNs() - dStart) / 1e3 / CALLS_A_WORK;
        };
        oTable.Measure(pszWhat, "the call, and a write of the line", SurplusAtMost(20), "us", 31, [&] {
            const double dPeer = fMeasure(oBare, true), dOurs = fMeasure(oRecorded, false);
            return BenchmarkTable::SMeasured{dOurs, dPeer, dOurs / dPeer};
        });
    };
    KUINT32                  uiValue   = 0;
    tagTBoard_FpgaInfo       oFpga     = {.uiSize = sizeof(oFpga)};
    const tagTVideo_VidParam oVidParam = {.uiHActive = 64, .uiVActive = 64, .uiVRate_Hz = 60};
    fCompare("a recorded TBoard_RegRead", 190, [&](const Client& ro) { ro.pfnRegRead(ro.hDev, 7932, &uiValue); });
    fCompare("a recorded TBoard_GetFpgaInfo", 370, [&](const Client& ro) { ro.pfnFpgaInfo(ro.hDev, 0, &oFpga); });
    fCompare("a recorded TVideoOut_Enable", 650, [&](const Client& ro) {
        ro.pfnEnable(ro.hVideoOut, TVideo_SignalType_USEDEFAULT, &oVidParam, ro.hBuffer, TVideoOut_PowerState_ON);
    });
    close(iFd);
    std::filesystem::remove_all(strFolder);
    return 0;
}
