#include "JsonAt.h"

#include <nlohmann/json.hpp>

std::string JsonAt(const std::string& json, const std::string& pointer) {
    using Json = nlohmann::ordered_json;
    return Json::parse(json).at(Json::json_pointer(pointer)).dump();
}
