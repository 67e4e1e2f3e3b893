// A display controller (card) of the machine: its connectors, CRTCs and planes. BecomeMaster makes this process the only one
// that may set its modes. The destructor then puts the card back into the state in which it was found.
#ifndef CARD_H
#define CARD_H

#include <set>

#include "BoardError.h"
#include "Connectors.h"
#include "Drm.h"
#include "FileDescriptor.h"
#include "QelTypes.h"

namespace SoftwareBoard::Display
{
// Another program holds the card. It may be free later.
class CardHeldError : public BoardError
{
public:
    using BoardError::BoardError;
};

// A primary plane: one that can show the whole picture of a CRTC.
struct SPlane
{
    uint32_t              uiId;
    uint32_t              uiPossibleCrtcs;
    uint32_t              uiCrtc;  // the CRTC that it was found on or is reserved for, or 0
    std::vector<uint32_t> auiFourCcs;
};

class Card
{
public:
    // The paths of all cards, in the order of their numbers.
    static std::vector<std::string> FindPaths();
    // Opens the card of that path. If it is empty, opens the first card with a connected display or, if there is none, the
    // first one with mode setting. Throws BoardError on failure.
    static Card Open(const std::string& strPath);

    Card(Card&&) = default;
    ~Card();

    // Remembers the state of the card and turns everything off. Call it once, before modes are set. Throws CardHeldError if
    // another program holds the card; the text names that program if the system tells which it is.
    void BecomeMaster();

    // From then on it is like a card without atomic calls.
    void UseLegacyCalls();

    const std::string&         GetPath() const { return m_strPath; }
    int                        GetFd() const { return m_oFd.Get(); }
    bool                       IsAtomic() const { return m_bAtomic; }
    const std::vector<SPlane>& GetPlanes() const { return m_aoPlanes; }

    // Reads the connectors anew. Throws BoardError if the card is gone.
    std::vector<SConnector> ReadConnectors() const;

    // Of the CRTCs that fit the connector and are not in roTaken, the one that fits the fewest connectors; 0 for none.
    uint32_t ChooseCrtc(const SConnector& roConnector, const std::vector<SConnector>& roAll,
                        const std::vector<uint32_t>& roTaken) const;
    // The plane of the CRTC, which no other CRTC has; null for none.
    const SPlane* FindPlane(uint32_t uiCrtc) const;

    uint32_t FindProperty(uint32_t uiObject, uint32_t uiType, const char* pszName, uint64_t* puiValue = nullptr) const;

    // Page flips under way, by number. The kernel reports a flip by its number, because its Scanout may be gone by then.
    // NextFlip returns a new number. Call TakeFlips when the descriptor is readable: it forgets the flips that are done.
    KUINT64 NextFlip() { return ++m_uiLastFlip; }
    void    BeginFlip(KUINT64 uiFlip) { m_oFlips.insert(uiFlip); }
    bool    IsFlipping(KUINT64 uiFlip) const { return m_oFlips.contains(uiFlip); }
    void    TakeFlips();

    void TurnOff(uint32_t uiCrtc) const;
    void TurnAllOff() const;

private:
    void Restore() const;

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
