#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>

#include "BoardError.h"
#include "ContactSheet.h"
#include "DrawingProcess.h"
#include "Installation.h"
#include "Options.h"
#include "PixelMapping.h"
#include "PngFile.h"
#include "PreviewBoard.h"
#include "PreviewPictures.h"
#include "Scaling.h"
#include "Signals.h"
#include "ToolProcess.h"
#include "Viewer.h"

namespace SoftwareBoard::Viewer
{
namespace
{
constexpr char                      TOOL[] = "QelProgressBarDisplay";
constexpr std::chrono::milliseconds TICK(1);
constexpr std::chrono::milliseconds NEWS_TICK(100);    // where a descriptor wakes it before
constexpr std::chrono::seconds      LONGEST_STEP(10);  // of the tool
constexpr std::chrono::seconds      LONGEST_LOOK(1);   // until the tool sleeps
constexpr int                       MOST_RUNS = 10;    // that may end before they show a percentage

// If the tool failed, the command ends with its status.
void ThrowIfFailed(const ToolProcess& roTool)
{
    const int iWait = roTool.GetWaitStatus().value();
    if (WIFSIGNALED(iWait))
    {
        std::fprintf(stderr, "tavrin-board: %s: ended by signal %d (%s)\n", TOOL, WTERMSIG(iWait),
                     strsignal(WTERMSIG(iWait)));
        throw Panel::EndedWithStatus{128 + WTERMSIG(iWait)};
    }
    if (WEXITSTATUS(iWait) != 0)
        throw Panel::EndedWithStatus{WEXITSTATUS(iWait)};
}

// Runs the tool on a board of its own, and takes its picture at one percentage after the other. If a run ends by itself, as
// at 100 % or after its enable time, another run follows.
class Preview
{
public:
    explicit Preview(const Panel::PassedOn& roPassedOn)
        : m_oArguments(roPassedOn), m_ooRowsDrawnOn(FindRowsDrawnOn(roPassedOn))
    {
        m_oArguments.insert(m_oArguments.begin(), m_strName.data());
        m_bReadsProgress = std::any_of(m_oArguments.begin(), m_oArguments.end() - 1, [](const char* psz) {
            return std::string_view(psz) == "-p" || std::string_view(psz) == "--ProgressRect";
        });
        Panel::UseBoardLibrary();
    }

    // Returns the picture, scaled for the sheet.
    Panel::SPicture Show(KUINT32 uiPercent, ContactSheet& roSheet)
    {
        for (int iRun = 0; iRun < MOST_RUNS; ++iRun)
        {
            if (auto ooTile = TryToShow(uiPercent, roSheet))
                return *ooTile;
            ThrowIfFailed(*m_poTool);
            if (!m_bWasOn)
                break;
        }
        throw BoardError(std::string(TOOL) + ": ended before it showed " + std::to_string(uiPercent) +
                         " %; see what it said");
    }

    // A run that goes on is killed by the destructor. It gets SIGKILL, because on SIGTERM the tool prints a message.
    void End()
    {
        if (m_poTool->HasEnded())
            ThrowIfFailed(*m_poTool);
    }

private:
    // Returns false if the run ended before every output was on.
    bool StartRun()
    {
        m_oBoard.SetProgress(0);  // a run that begins at 100 % may end too soon
        m_poTool = std::make_unique<ToolProcess>(m_strTool, m_oArguments, m_oSignals);
        m_bWasOn =
            WaitUntil([this] { return m_oBoard.TakeWrites() && m_oBoard.IsRunning(); }, std::nullopt, m_oBoard.GetWrites());
        m_ooTile.reset();
        m_ooScreen = m_bWasOn ? m_oBoard.OpenScreen() : std::nullopt;
        if (m_ooScreen)
            m_ooMapping.emplace(*m_ooScreen);
        else if (m_bWasOn)
            WaitUntilEnd();  // it has turned its outputs off meanwhile
        return m_ooScreen.has_value();
    }

    // Returns the picture, or nothing if the run ended before it showed the percentage. The percentage is set while the tool
    // sleeps between two steps. The next read of the board comes from a step that shows it, or from the end of the run,
    // which destroys its buffer before it reads. When the tool sleeps again, it has drawn the whole step.
    std::optional<Panel::SPicture> TryToShow(KUINT32 uiPercent, ContactSheet& roSheet)
    {
        if ((m_poTool == nullptr || m_poTool->HasEnded()) && !StartRun())
            return std::nullopt;
        const DrawingProcess oDrawing(m_ooScreen->GetPixels().Get(), m_ooScreen->GetOutput().iHolderPid);
        WaitUntil([&] { return oDrawing.SleptWhile([&] { m_oBoard.SetProgress(uiPercent); }); }, LONGEST_LOOK);
        if (m_bReadsProgress)
        {
            const bool bRead =
                WaitUntil([this] { return m_oBoard.TakeReads(); }, LONGEST_STEP + LONGEST_STEP / 2, m_oBoard.GetReads());
            if (!oDrawing.CanDraw())
            {
                WaitUntilEnd();
                return std::nullopt;
            }
            // An argument may only look like the option. A tool that does not read the progress within its longest step
            // never does.
            m_bReadsProgress = bRead;
        }
        Panel::SPicture oTile = DrawTile(oDrawing, roSheet);
        // At 100 % the tool ends by itself. What it reads while it ends is not the progress.
        if (uiPercent == 100 && m_bReadsProgress)
            WaitUntilEnd();
        return oTile;
    }

    // A look may take longer than the tool sleeps. So the tool is stopped meanwhile, if the system tells whether it sleeps.
    Panel::SPicture DrawTile(const DrawingProcess& roDrawing, ContactSheet& roSheet)
    {
        const tagTVideo_VidParam& roVidParam   = m_ooScreen->GetOutput().oVidParam;
        const bool                bOnlyDrawnOn = m_ooTile && m_ooRowsDrawnOn;
        Panel::SPicture           oTile;
        std::string               strCall;
        const auto                fLook = [&] {
            oTile = bOnlyDrawnOn ? *m_ooTile : roSheet.MakeTile(roVidParam.uiHActive, roVidParam.uiVActive);
            for (const auto& [uiFirst, uiEnd] : bOnlyDrawnOn ? *m_ooRowsDrawnOn : Rows{{0, roVidParam.uiVActive}})
                DrawRows(uiFirst, uiEnd, oTile);
        };
        const auto fStop = [&] {
            return roDrawing.SleptWhile([&] { strCall = m_poTool->FindCall(); }) && m_poTool->TryStop(strCall);
        };
        if (roDrawing.CanDraw() && WaitUntil(fStop, LONGEST_LOOK))
        {
            fLook();
            m_poTool->GoOn();
        }
        else
            Panel::LookUntilWhole(*m_ooScreen, fLook);
        m_ooTile = oTile;
        return oTile;
    }

    // Scales these rows of the screen into the tile.
    void DrawRows(KUINT32 uiFirst, KUINT32 uiEnd, Panel::SPicture& roTile) const
    {
        const KUINT32 uiWidth  = m_ooScreen->GetOutput().oVidParam.uiHActive;
        const KUINT32 uiHeight = m_ooScreen->GetOutput().oVidParam.uiVActive;
        const SArea   oTo      = ScaleArea({0, uiFirst, uiWidth, uiEnd}, uiWidth, uiHeight, roTile.uiWidth, roTile.uiHeight);
        RowScaler     oScaler(uiWidth, uiHeight, roTile, oTo);
        m_ooMapping->Read([&](const KUINT32* puiShown, size_t uiPitch) {
            const KUINT32 uiEndRow = std::min(oScaler.GetEndRow(), m_ooScreen->GetHeight());
            for (KUINT32 uiRow = oScaler.GetFirstRow(); uiRow < uiEndRow; ++uiRow)
                oScaler.AddRow({puiShown + uiRow * uiPitch, m_ooScreen->GetWidth()});
        });
    }

    // Its end is a signal, so the signals' descriptor wakes this.
    void WaitUntilEnd()
    {
        WaitUntil([this] { return m_poTool->HasEnded(); }, std::nullopt, m_oSignals.GetDescriptor());
    }

    // Returns false if the tool has ended, or after the time. iNews is a descriptor that has something to read when it may
    // be done; -1 if nothing tells.
    template <class TDone> bool WaitUntil(TDone fDone, std::optional<std::chrono::seconds> ooTime, int iNews = -1)
    {
        const auto oStart   = std::chrono::steady_clock::now();
        pollfd     aoNews[] = {{.fd = iNews, .events = POLLIN}};
        while (!fDone())
        {
            if (m_poTool->HasEnded() || (ooTime && std::chrono::steady_clock::now() - oStart > *ooTime))
                return false;
            if (const int iSignal = m_oSignals.Wait(iNews < 0 ? TICK : NEWS_TICK, aoNews);
                iSignal != 0 && iSignal != SIGCHLD)
                throw Panel::EndedBySignal{iSignal};
        }
        return true;
    }

    const Panel::Signals m_oSignals{SIGCHLD};
    PreviewBoard         m_oBoard;
    std::string          m_strName = TOOL;
    std::string          m_strTool = Panel::FindProgram(TOOL);
    Panel::PassedOn      m_oArguments;
    bool                 m_bReadsProgress = false;
    bool                 m_bWasOn         = false;
    std::optional<Rows>  m_ooRowsDrawnOn;  // to scale anew after the first picture of a run; nothing: all

    // Of the present run.
    std::optional<Screen>          m_ooScreen;
    std::optional<PixelMapping>    m_ooMapping;
    std::optional<Panel::SPicture> m_ooTile;  // the last one
    std::unique_ptr<ToolProcess>   m_poTool;  // after the board, so that it is destroyed first
};

void MakePreview(const std::string& strFile, const std::vector<KUINT32>& roPercents, const Panel::PassedOn& roPassedOn)
{
    // Checked before the work, not after it.
    const std::filesystem::path oFolder = std::filesystem::path(strFile).parent_path();
    if (access(oFolder.empty() ? "." : oFolder.c_str(), W_OK | X_OK) != 0)
        ThrowSystemError(oFolder.empty() ? "." : oFolder.string(), "access (to write a file there)");
    WarnOfPictures(roPassedOn);
    ContactSheet oSheet(roPercents.size());
    Preview      oPreview(roPassedOn);
    for (const KUINT32 uiPercent : roPercents)
        oSheet.Add(oPreview.Show(uiPercent, oSheet), std::to_string(uiPercent) + " %");
    oPreview.End();
    Panel::WritePngFile(oSheet.Draw(), strFile, Panel::EPacking::REPEATING);
}
}

Panel::Action AddPreview(CLI::App& roCommand, const Panel::PassedOn& roPassedOn)
{
    struct SOptions
    {
        std::string          strFile;
        std::vector<KUINT32> auiPercents = {0, 25, 50, 75, 100};
    };
    const auto poOptions = std::make_shared<SOptions>();
    Panel::AddPngFile(roCommand, poOptions->strFile, false,
                      "The PNG file to write: a contact sheet, at most 1920 pixels wide");
    CLI::Option* const poAt = roCommand.add_option_function<std::vector<std::string>>(
        "--at",
        [poOptions](const std::vector<std::string>& roTexts) {
            poOptions->auiPercents.clear();
            for (const std::string& strText : roTexts)
                poOptions->auiPercents.push_back(Panel::TakeNumber("--at", strText, 0, 100));
        },
        "A percentage to show; may be repeated (default 0, 25, 50, 75 and 100)");
    Panel::LetRepeat(poAt->type_name("PERCENT"));
    return [poOptions, &roPassedOn] { MakePreview(poOptions->strFile, poOptions->auiPercents, roPassedOn); };
}
}
