// The names that a record has for handles.
#ifndef HANDLE_NAMES_H
#define HANDLE_NAMES_H

#include <map>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "Operations.h"

namespace SoftwareBoard::Recorder
{
using Json = nlohmann::ordered_json;  // keys stay in the order of the table

// The names of handles in a record, as JSON in text: "device 1", "buffer 1", "output 1", null. Each kind counts from 1.
class HandleNames
{
public:
    // The name of a handle that a client passes; one that was never seen gets the next number.
    std::string NameOf(EHandle eHandle, KUINT64 uiHandle);
    // The name of a handle that the library returned. After the handle has ended it means another object.
    std::string NameReturned(EHandle eHandle, KUINT64 uiHandle);
    void        End(EHandle eHandle, KUINT64 uiHandle);
    // Gives the handle the number of this name.
    void Learn(EHandle eHandle, KUINT64 uiHandle, KUINT32 uiNumber);

    // The number in a name; nothing if it is no name of this kind.
    static std::optional<KUINT32> NumberIn(EHandle eHandle, const Json& roName);

private:
    struct SName
    {
        KUINT32 uiNumber;
        bool    bEnded;
    };
    std::map<std::pair<EHandle, KUINT64>, SName> m_oNames;
    std::array<KUINT32, 3>                       m_auiLast = {};
};
}

#endif
