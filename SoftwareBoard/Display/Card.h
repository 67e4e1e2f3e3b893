// A display controller of the machine, as the one program that may set its modes has it: connectors, what feeds them, and
// the state in which it was found, which it gets back.
#ifndef CARD_H
#define CARD_H

#include <optional>
#include <set>

#include "Connectors.h"
#include "Drm.h"
#include "FileDescriptor.h"
#include "QelTypes.h"

namespace SoftwareBoard::Display
{
// A plane that can be the whole picture of a CRTC.
struct SPlane
{
    uint32_t              uiId;
    uint32_t              uiPossibleCrtcs;
    uint32_t              uiCrtc;  // on which it was found, or which it is kept for, or 0
    std::vector<uint32_t> auiFourCcs;
};

class Card
{
public:
    // Cards in the order of their numbers.
    static std::vector<std::string> FindPaths();
    // The card of that path, the first one with mode setting when it is empty. Throws what a person should read.
    static Card Open(const std::string& strPath);

    Card(Card&&) = default;
    ~Card();

    // To be called once, before modes are set: keeps what it finds and turns everything off. Fails when another program
    // holds the card.
    void BecomeMaster();

    const std::string&         GetPath() const { return m_strPath; }
    int                        GetFd() const { return m_oFd.Get(); }
    bool                       IsAtomic() const { return m_bAtomic; }
    void                       UseLegacyCalls() { m_bAtomic = false; }
    const std::vector<SPlane>& GetPlanes() const { return m_aoPlanes; }

    // Looks at the connectors anew. Throws when the card is gone.
    std::vector<SConnector> ReadConnectors() const;

    // A CRTC for the connector that is not among those taken, the one that the fewest others could use; 0 for none.
    uint32_t ChooseCrtc(const SConnector& roConnector, const std::vector<SConnector>& roAll,
                        const std::vector<uint32_t>& roTaken) const;
    // The plane of a CRTC, of no other one; null where there is none.
    const SPlane* FindPlane(uint32_t uiCrtc) const;

    uint32_t FindProperty(uint32_t uiObject, uint32_t uiType, const char* pszName, uint64_t* puiValue = nullptr) const;

    // Page flips under way, by numbers that the kernel hands back: whoever began one may be gone when it happens. NextFlip
    // gives out a number that no flip has had, and TakeFlips is to be called when the descriptor is readable.
    KUINT64 NextFlip() { return ++m_uiLastFlip; }
    void    BeginFlip(KUINT64 uiFlip) { m_oFlips.insert(uiFlip); }
    bool    IsFlipping(KUINT64 uiFlip) const { return m_oFlips.contains(uiFlip); }
    void    TakeFlips();

    void TurnOff(uint32_t uiCrtc) const;
    void TurnAllOff() const;
    // Every CRTC as it was found.
    void Restore() const;

private:
    Card(std::string strPath, FileDescriptor oFd);

    struct SFound
    {
        DrmCrtc               poCrtc;
        std::vector<uint32_t> auiConnectors;
    };

    std::string         m_strPath;
    FileDescriptor      m_oFd;
    DrmResources        m_poResources;
    std::vector<SPlane> m_aoPlanes;
    std::vector<SFound> m_aoFound;
    bool                m_bAtomic = false;
    std::set<KUINT64>   m_oFlips;
    KUINT64             m_uiLastFlip = 0;
};
}

#endif
