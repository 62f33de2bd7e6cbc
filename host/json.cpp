#include "host/json.h"

namespace velkhost {

Json ParseJson(std::string_view text) { return Json::parse(text); }

std::string JsonText(const Json& json, int indent) {
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace velkhost
