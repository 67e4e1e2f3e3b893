#include "Card.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <regex>

namespace SoftwareBoard::Display
{
namespace
{
constexpr char CARD_FOLDER[] = "/dev/dri";
constexpr char CARD_PREFIX[] = "card";

FileDescriptor OpenCard(const std::string& strPath)
{
    FileDescriptor oFd(open(strPath.c_str(), O_RDWR | O_CLOEXEC));
    if (!oFd)
    {
        const char* const pszHint = errno == EACCES ? "open (the group video may, as a rule)" : "open";
        ThrowSystemError(strPath, pszHint);
    }
    return oFd;
}

// Names the program that holds the card, for example "Xorg, process 812"; empty if the system does not tell. Root may read a
// table of the card's clients.
std::string FindMaster(const FileDescriptor& roCard)
{
    struct stat oStat = {};
    if (fstat(roCard.Get(), &oStat) != 0)
        return "";
    std::ifstream    oClients("/sys/kernel/debug/dri/" + std::to_string(minor(oStat.st_rdev)) + "/clients");
    const std::regex oMasterRow(R"(\s*(.+?)\s+(\d+)\s+\d+\s+y\s+[yn]\s+\d+\s+\d+)");  // name, process, card, y
    std::smatch      oFound;
    for (std::string strLine; std::getline(oClients, strLine);)
    {
        if (std::regex_match(strLine, oFound, oMasterRow))
            return oFound.str(1) + ", process " + oFound.str(2);
    }
    return "";
}
}

std::vector<std::string> Card::FindPaths()
{
    std::map<unsigned long, std::string> oPaths;
    std::error_code                      oError;
    for (const auto& roEntry : std::filesystem::directory_iterator(CARD_FOLDER, oError))
    {
        const std::string strName = roEntry.path().filename().string();
        if (strName.starts_with(CARD_PREFIX))
            oPaths[std::strtoul(strName.c_str() + sizeof(CARD_PREFIX) - 1, nullptr, 10)] = roEntry.path().string();
    }
    std::vector<std::string> astrInOrder;
    for (const auto& [uiNumber, strPath] : oPaths)
        astrInOrder.push_back(strPath);
    return astrInOrder;
}

Card Card::Open(const std::string& strPath)
{
    if (!strPath.empty())
        return Card(strPath, OpenCard(strPath));
    const std::vector<std::string> astrPaths = FindPaths();
    std::optional<Card>            ooFirst;
    std::exception_ptr             pWhyNot;
    for (const std::string& strCandidate : astrPaths)
    {
        try
        {
            Card       oCard(strCandidate, OpenCard(strCandidate));
            const auto aoConnectors = oCard.ReadConnectors();
            if (std::any_of(aoConnectors.begin(), aoConnectors.end(), [](const auto& ro) { return ro.bConnected; }))
                return oCard;
            if (!ooFirst)
                ooFirst.emplace(std::move(oCard));
        }
        catch (const BoardError&)
        {
            pWhyNot = std::current_exception();
        }
    }
    if (ooFirst)
        return std::move(*ooFirst);
    if (pWhyNot != nullptr)
        std::rethrow_exception(pWhyNot);
    throw BoardError(std::string(CARD_FOLDER) + ": this machine has no display controller, or no driver for it");
}

Card::Card(std::string strPath, FileDescriptor oFd)
    : m_strPath(std::move(strPath)), m_oFd(std::move(oFd)), m_poResources(drmModeGetResources(m_oFd.Get()))
{
    uint64_t uiDumbBuffers = 0;
    if (m_poResources == nullptr || m_poResources->count_crtcs == 0)
        throw BoardError(m_strPath + ": a card without mode setting");
    if (drmGetCap(m_oFd.Get(), DRM_CAP_DUMB_BUFFER, &uiDumbBuffers) != 0 || uiDumbBuffers == 0)
        throw BoardError(m_strPath + ": a card without buffers that the processor can fill");

    // The atomic capability includes the other one. A card without it may still have that one.
    m_bAtomic = drmSetClientCap(m_oFd.Get(), DRM_CLIENT_CAP_ATOMIC, 1) == 0;
    drmSetClientCap(m_oFd.Get(), DRM_CLIENT_CAP_UNIVERSAL_PLANES, 1);
    const DrmPlanes poPlanes(drmModeGetPlaneResources(m_oFd.Get()));
    for (uint32_t uiAt = 0; poPlanes != nullptr && uiAt < poPlanes->count_planes; ++uiAt)
    {
        const DrmPlane poPlane(drmModeGetPlane(m_oFd.Get(), poPlanes->planes[uiAt]));
        uint64_t       uiType = DRM_PLANE_TYPE_OVERLAY;
        if (poPlane == nullptr)
            continue;
        FindProperty(poPlane->plane_id, DRM_MODE_OBJECT_PLANE, "type", &uiType);
        if (uiType == DRM_PLANE_TYPE_PRIMARY)
            m_aoPlanes.push_back({poPlane->plane_id,
                                  poPlane->possible_crtcs,
                                  poPlane->crtc_id,
                                  {poPlane->formats, poPlane->formats + poPlane->count_formats}});
    }
    // A plane may fit several CRTCs. Each CRTC reserves one, so that outputs do not take each other's.
    for (int iCrtc = 0; iCrtc < m_poResources->count_crtcs; ++iCrtc)
    {
        const uint32_t uiCrtc = m_poResources->crtcs[iCrtc];
        const auto     oFree  = std::find_if(m_aoPlanes.begin(), m_aoPlanes.end(), [&](const SPlane& ro) {
            return ro.uiCrtc == 0 && (ro.uiPossibleCrtcs >> iCrtc & 1) != 0;
        });
        if (FindPlane(uiCrtc) == nullptr && oFree != m_aoPlanes.end())
            oFree->uiCrtc = uiCrtc;
    }
}

Card::~Card()
{
    Restore();
}

void Card::UseLegacyCalls()
{
    m_bAtomic = false;
    // The kernel refuses them then. The capability takes the other one with it.
    drmSetClientCap(m_oFd.Get(), DRM_CLIENT_CAP_ATOMIC, 0);
    drmSetClientCap(m_oFd.Get(), DRM_CLIENT_CAP_UNIVERSAL_PLANES, 1);
}

void Card::BecomeMaster()
{
    // A process that opens a card that nobody holds is its master at once. If it is not, drmSetMaster says why.
    if (drmIsMaster(m_oFd.Get()) == 0 && drmSetMaster(m_oFd.Get()) != 0)
    {
        const std::string strWhy    = std::generic_category().message(errno);
        const std::string strMaster = FindMaster(m_oFd);
        throw CardHeldError(
            m_strPath + ": another program, such as a desktop, holds the card: " + (strMaster.empty() ? strWhy : strMaster));
    }

    const std::vector<SConnector> aoConnectors = ReadConnectors();
    for (int iCrtc = 0; iCrtc < m_poResources->count_crtcs; ++iCrtc)
    {
        SFound oFound{DrmCrtc(drmModeGetCrtc(m_oFd.Get(), m_poResources->crtcs[iCrtc])), {}};
        for (const SConnector& roConnector : aoConnectors)
        {
            if (oFound.poCrtc != nullptr && roConnector.uiCrtc == oFound.poCrtc->crtc_id)
                oFound.auiConnectors.push_back(roConnector.uiId);
        }
        if (oFound.poCrtc != nullptr)
            m_aoFound.push_back(std::move(oFound));
    }
    TurnAllOff();
}

std::vector<SConnector> Card::ReadConnectors() const
{
    std::vector<SConnector> aoConnectors;
    const DrmResources      poNow(drmModeGetResources(m_oFd.Get()));  // a docking station adds connectors
    if (poNow == nullptr)
        ThrowSystemError(m_strPath, "the card is gone");
    for (int iAt = 0; iAt < poNow->count_connectors; ++iAt)
    {
        const DrmConnector poConnector(drmModeGetConnector(m_oFd.Get(), poNow->connectors[iAt]));
        if (poConnector == nullptr)
            continue;
        const char* const pszType = drmModeGetConnectorTypeName(poConnector->connector_type);
        SConnector        oConnector{poConnector->connector_id,
                              std::string(pszType != nullptr ? pszType : "Unknown") + "-" +
                                  std::to_string(poConnector->connector_type_id),
                              poConnector->connection == DRM_MODE_CONNECTED, 0, 0};
        for (int iEncoder = 0; iEncoder < poConnector->count_encoders; ++iEncoder)
        {
            const DrmEncoder poEncoder(drmModeGetEncoder(m_oFd.Get(), poConnector->encoders[iEncoder]));
            if (poEncoder == nullptr)
                continue;
            oConnector.uiPossibleCrtcs |= poEncoder->possible_crtcs;
            if (poEncoder->encoder_id == poConnector->encoder_id)
                oConnector.uiCrtc = poEncoder->crtc_id;
        }
        aoConnectors.push_back(std::move(oConnector));
    }
    return aoConnectors;
}

uint32_t Card::ChooseCrtc(const SConnector& roConnector, const std::vector<SConnector>& roAll,
                          const std::vector<uint32_t>& roTaken) const
{
    uint32_t uiChosen   = 0;
    auto     iFewestUse = std::ptrdiff_t{PTRDIFF_MAX};
    for (int iCrtc = 0; iCrtc < m_poResources->count_crtcs; ++iCrtc)
    {
        const uint32_t uiCrtc    = m_poResources->crtcs[iCrtc];
        const auto     fCouldUse = [&](const SConnector& ro) { return (ro.uiPossibleCrtcs >> iCrtc & 1) != 0; };
        const auto     iUse      = std::count_if(roAll.begin(), roAll.end(), fCouldUse);
        if (!fCouldUse(roConnector) || std::find(roTaken.begin(), roTaken.end(), uiCrtc) != roTaken.end() ||
            iUse >= iFewestUse)
            continue;
        uiChosen   = uiCrtc;
        iFewestUse = iUse;
    }
    return uiChosen;
}

const SPlane* Card::FindPlane(uint32_t uiCrtc) const
{
    const auto oFound =
        std::find_if(m_aoPlanes.begin(), m_aoPlanes.end(), [&](const SPlane& ro) { return ro.uiCrtc == uiCrtc; });
    return oFound == m_aoPlanes.end() ? nullptr : &*oFound;
}

uint32_t Card::FindProperty(uint32_t uiObject, uint32_t uiType, const char* pszName, uint64_t* puiValue) const
{
    const DrmProperties poAll(drmModeObjectGetProperties(m_oFd.Get(), uiObject, uiType));
    for (uint32_t uiAt = 0; poAll != nullptr && uiAt < poAll->count_props; ++uiAt)
    {
        const DrmProperty poProperty(drmModeGetProperty(m_oFd.Get(), poAll->props[uiAt]));
        if (poProperty == nullptr || std::string_view(poProperty->name) != pszName)
            continue;
        if (puiValue != nullptr)
            *puiValue = poAll->prop_values[uiAt];
        return poProperty->prop_id;
    }
    return 0;
}

void Card::TakeFlips()
{
    char          acEvents[1024];  // the kernel delivers whole events
    const ssize_t iRead = read(m_oFd.Get(), acEvents, sizeof(acEvents));
    for (ssize_t iAt = 0; iAt + ssize_t{sizeof(drm_event_vblank)} <= iRead;)
    {
        drm_event_vblank oEvent = {};
        std::memcpy(&oEvent, acEvents + iAt, sizeof(oEvent));
        if (oEvent.base.type == DRM_EVENT_FLIP_COMPLETE)
            m_oFlips.erase(oEvent.user_data);
        iAt += std::max<ssize_t>(oEvent.base.length, sizeof(oEvent.base));
    }
}

void Card::TurnOff(uint32_t uiCrtc) const
{
    drmModeSetCrtc(m_oFd.Get(), uiCrtc, 0, 0, 0, nullptr, 0, nullptr);
}

void Card::TurnAllOff() const
{
    for (const SFound& ro : m_aoFound)
        TurnOff(ro.poCrtc->crtc_id);
}

void Card::Restore() const
{
    TurnAllOff();  // first, so that no connector is still fed by another CRTC
    for (const SFound& ro : m_aoFound)
    {
        drmModeCrtc& roCrtc = *ro.poCrtc;
        if (roCrtc.mode_valid == 0 || roCrtc.buffer_id == 0)
            continue;
        std::vector<uint32_t> auiConnectors = ro.auiConnectors;
        drmModeSetCrtc(m_oFd.Get(), roCrtc.crtc_id, roCrtc.buffer_id, roCrtc.x, roCrtc.y, auiConnectors.data(),
                       static_cast<int>(auiConnectors.size()), &roCrtc.mode);
    }
}
}
