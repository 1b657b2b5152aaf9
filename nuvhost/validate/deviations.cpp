#include "deviations.h"

#include <fstream>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "registry.h"

namespace nuvhost::validate {

std::filesystem::path DeviationsBeside(const std::filesystem::path& plugin) {
    auto file = plugin.parent_path() / plugin.stem();
    file += ".deviations.json";
    return file;
}

Deviations ReadDeviations(const std::filesystem::path& file) {
    const auto refuse = [&](const std::string& why) { throw std::runtime_error(file.string() + ": " + why); };
    std::ifstream stream(file);
    if (!stream) refuse("cannot be read");
    const auto object = nlohmann::json::parse(stream, nullptr, false);
    if (!object.is_object()) refuse("is not one JSON object");

    Deviations deviations;
    for (const auto& [id, reason] : object.items()) {
        if (!FindCheck(id)) refuse("\"" + id + "\" is no check; nuvhost validate --list names them");
        if (!reason.is_string() || reason.get<std::string>().empty()) refuse("\"" + id + "\" has no reason");
        deviations[id] = reason.get<std::string>();
    }
    return deviations;
}

}  // namespace nuvhost::validate
