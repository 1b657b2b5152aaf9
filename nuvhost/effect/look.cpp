#include "effect/look.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <system_error>

#include "console/errors.h"
#include "files/output_file.h"

namespace nuvhost {
namespace {

namespace fs = std::filesystem;

// This type keeps the order in which keys are written.
using Json = nlohmann::ordered_json;

constexpr auto kEffect = "nuv_chromaber";

[[noreturn]] void Reject(const std::filesystem::path& file, const std::string& why) {
    throw UsageError(file.string() + ": " + why);
}

Json ReadJson(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream || std::filesystem::is_directory(file)) {
        throw std::runtime_error(file.string() + ": the settings cannot be read");
    }
    const auto key = [](const std::vector<std::string>& keys) {
        std::string text;
        for (const auto& name : keys)
            text += (text.empty() ? "" : ".") + name;
        return text;
    };
    // For each object that the parser is in, from the outermost to the innermost: its keys so far, and its own
    // name.
    std::vector<std::set<std::string>> known;
    std::vector<std::string> path;
    const auto refuseTwice = [&](int depth, Json::parse_event_t event, Json& parsed) {
        const auto level = static_cast<std::size_t>(depth);
        if (event == Json::parse_event_t::object_start) {
            known.resize(level);
            known.emplace_back();
        }
        if (event == Json::parse_event_t::key) {
            path.resize(level);
            path.back() = parsed.get<std::string>();
            if (!known[level - 1].insert(path.back()).second) Reject(file, key(path) + ": is there twice");
        }
        return true;
    };
    try {
        Json json = Json::parse(stream, refuseTwice);
        if (!json.is_object()) Reject(file, "is not an object of settings");
        return json;
    } catch (const Json::parse_error& error) {
        const std::string text = error.what();  // "[…] parse error at line 3, column 5: …"
        const auto at = text.find("at line");
        Reject(file, "is not JSON" + (at == text.npos ? "" : ", " + text.substr(at, text.find(':', at) - at)));
    } catch (const Json::out_of_range&) {
        Reject(file, key(path) + ": holds a number that is too large");
    }
}

std::string TextOf(const std::filesystem::path& file, const std::string& key, const Json& value) {
    if (value.is_number()) return value.dump();
    if (!value.is_string()) Reject(file, key + ": is neither text nor a number");
    return value.get<std::string>();
}

std::vector<std::byte> FromHex(const std::filesystem::path& file, const std::string& key, const std::string& text) {
    std::vector<std::byte> bytes;
    bool valid = true;
    for (std::size_t at = 0; at < text.size(); at += 2) {
        const char* const first = text.data() + at;
        const char* const last = text.data() + std::min(at + 2, text.size());
        unsigned value = 0;
        const auto [stop, error] = std::from_chars(first, last, value, 16);
        valid = valid && error == std::errc{} && stop == first + 2;
        bytes.push_back(static_cast<std::byte>(value));
    }
    if (!valid) Reject(file, key + ": \"" + text + "\" is not hexadecimal");
    return bytes;
}

std::string Hex(const std::vector<std::byte>& bytes) {
    constexpr auto kDigits = "0123456789abcdef";
    std::string text;
    for (const auto byte : bytes) {
        text += kDigits[static_cast<unsigned>(byte) >> 4];
        text += kDigits[static_cast<unsigned>(byte) & 15U];
    }
    return text;
}

void LoadParameters(const std::filesystem::path& file, const Json& parameters, Look& look) {
    if (!parameters.is_object()) Reject(file, "parameters: is not an object");
    for (const auto& [id, entry] : parameters.items()) {
        const std::string key = "parameters." + id;
        std::size_t i = 0;
        while (i < kParameters && id != std::to_string(kParameterTable[i].id))
            ++i;
        if (i == kParameters) Reject(file, key + ": the effect has no parameter of this id");
        const ParameterRow& row = kParameterTable[i];
        if (!entry.is_object() || !entry.contains("value")) Reject(file, key + ": has no value");
        for (const auto& [name, ignored] : entry.items()) {
            if (name == "name" || name == "value") continue;
            Reject(file, (key + ".").append(name).append(": is not known"));
        }
        if (entry.contains("name") && entry["name"] != row.name) {
            Reject(file,
                   key + ".name: is not \"" + std::string(row.name) + "\", the name of the parameter with this id");
        }
        look.texts[i] = TextOf(file, key + ".value", entry["value"]);
        look.settings.Take(row, file.string() + ": " + key + ".value", *look.texts[i]);
    }
}

void Load(const std::filesystem::path& file, Look& look) {
    const Json json = ReadJson(file);
    for (const auto& [key, value] : json.items()) {
        if (key == "effect") {
            if (value != kEffect) Reject(file, "effect: is not \"" + std::string(kEffect) + "\"");
        } else if (key == "parameters") {
            LoadParameters(file, value, look);
        } else if (key == "sequence_data") {
            if (!value.is_string()) Reject(file, key + ": is not text");
            look.sequenceData = FromHex(file, key, value.get<std::string>());
        } else {
            Reject(file, key + ": is not known");
        }
    }
}

fs::path FolderOf(const fs::path& file) {
    return fs::absolute(file).lexically_normal().parent_path();
}

bool LiesIn(const fs::path& file, const fs::path& folder) {
    return std::mismatch(folder.begin(), folder.end(), file.begin(), file.end()).first == folder.end();
}

}  // namespace

Look MakeLook(const std::optional<std::filesystem::path>& file, const ParameterTexts& commandLine) {
    Look look;
    if (file) Load(*file, look);
    for (std::size_t i = 0; i < kParameters; ++i) {
        if (!commandLine[i]) continue;
        look.texts[i] = commandLine[i];
        look.settings.Take(kParameterTable[i], kParameterTable[i].option, *commandLine[i]);
    }
    return look;
}

void CheckSaving(const fs::path& file, const std::vector<fs::path>& taken, bool foldersCome) {
    const auto refuse = [&](const std::string& why) {
        throw UsageError("--save-settings: \"" + file.string() + "\" " + why);
    };
    if (!file.has_filename() || file == "-") refuse("is not the name of a file");
    std::error_code failure;
    const auto status = fs::status(file, failure);
    if (status.type() == fs::file_type::none) refuse("cannot be written: " + failure.message());
    if (fs::is_directory(status)) refuse("is a folder");
    if (fs::exists(status) && !fs::is_regular_file(status)) refuse("is not an ordinary file");

    const fs::path name = BehindLinks(fs::absolute(file));
    for (const auto& other : taken) {
        if (fs::equivalent(file, other, failure) || name == BehindLinks(fs::absolute(other))) {
            refuse("is a file that this run reads or writes: " + other.string());
        }
    }

    const fs::path folder = FolderOf(file);
    if (!fs::is_directory(folder, failure)) {
        const auto below = [&](const fs::path& other) { return LiesIn(FolderOf(other), folder); };
        if (foldersCome && std::any_of(taken.begin(), taken.end(), below)) return;
        refuse("cannot be written: no such folder");
    }
    if (::access(folder.c_str(), W_OK | X_OK) != 0) refuse("cannot be written: no permission in its folder");
    if (fs::exists(status) && ::access(file.c_str(), W_OK) != 0) refuse("is write-protected");
}

void SaveLook(const std::filesystem::path& file, const Look& look) {
    Json parameters = Json::object();
    for (std::size_t i = 0; i < kParameters; ++i) {
        const ParameterRow& row = kParameterTable[i];
        parameters[std::to_string(row.id)] = {{"name", row.name},
                                              {"value", look.texts[i].value_or(std::string(row.initial))}};
    }
    const Json json{{"effect", kEffect}, {"parameters", parameters}, {"sequence_data", Hex(look.sequenceData)}};

    OutputFile output(file);
    std::ofstream stream;
    output.Create([&] {
        stream.open(output.temporary(), std::ios::binary);
        return stream.is_open();
    });
    stream << json.dump(2) << '\n';
    stream.close();
    if (!stream) throw std::runtime_error(file.string() + ": the settings cannot be written");
    output.Commit();
}

}  // namespace nuvhost
