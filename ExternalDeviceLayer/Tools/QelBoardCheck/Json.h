// JSON objects that keep the order in which they were filled.
#ifndef JSON_H
#define JSON_H

#include <nlohmann/json.hpp>

namespace BoardCheck
{
using Json = nlohmann::ordered_json;

// Text from a library may hold any bytes. Bytes that are not UTF-8 become the replacement character.
inline std::string ToText(const Json& roJson)
{
    return roJson.dump(-1, ' ', false, Json::error_handler_t::replace);
}
}

#endif
