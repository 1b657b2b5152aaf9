#include <algorithm>
#include <functional>
#include <span>
#include <sstream>
#include <vector>

#include "info/describe.h"
#include "info/names.h"

namespace nuvhost {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kColumns = 80;

// Makes a text of an effect safe for a terminal: writes control characters as JSON does, and replaces what is not
// UTF-8.
std::string Printable(const std::string& text) {
    const std::string quoted = Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
    return quoted.substr(1, quoted.size() - 2);
}
std::string Value(const Json& json) {
    if (json.is_string()) return Printable(json.get<std::string>());
    if (!json.is_number_float()) return json.dump();
    std::ostringstream text;  // writes 100, not 100.0
    text << json.get<double>();
    return text.str();
}

std::string Padded(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

// Breaks the words into lines of at most 80 columns. Each line starts with `indent` spaces.
std::string Wrapped(const std::string& text, std::size_t indent) {
    std::string lines, line(indent, ' '), word;
    for (std::istringstream words(text); words >> word;) {
        if (line.size() > indent && line.size() + 1 + word.size() > kColumns) {
            lines += line + "\n";
            line.assign(indent, ' ');
        }
        line += (line.size() > indent ? " " : "") + word;
    }
    return lines + line + "\n";
}

std::string Identity(const Json& description) {
    struct Row {
        const char *label, *key;
    };
    static constexpr Row kRows[] = {
        {"file", "file"}, {"match name", "match_name"},   {"category", "category"},     {"about", "about"},
        {"kind", "kind"}, {"entry point", "entry_point"}, {"effect API", "effect_api"},
    };
    const Json& version = description["version"];
    std::string text = Value(description["name"]) + "\n\n";
    for (const auto& [label, key] : kRows) {
        text += "  " + Padded(label, 13) + Value(description[key]) + "\n";
    }
    return text + "  " + Padded("version", 13) + Value(version["text"]) + " (" +
           Hexadecimal(version["value"].get<std::uint32_t>()) + ")\n";
}

// One line of a table with a column for each host. The column of a host that the effect refuses stays empty.
std::string Row(const Json& hosts, const std::string& label, const std::function<std::string(const Json&)>& cell) {
    std::string line = Padded("  " + label, 52);
    for (const Json& host : hosts) {
        line += Padded(host.contains("refused") ? "" : cell(host), 13);
    }
    return line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
}

std::vector<std::string> FlagNames(const Json& host, const char* word) {
    std::vector<std::string> names;
    if (host.contains("refused")) return names;
    for (const Json& name : host[word]["names"]) {
        names.push_back(name.get<std::string>());
    }
    for (const Json& bit : host[word]["unknown_bits"]) {
        names.push_back("bit " + bit.dump());
    }
    return names;
}

bool Contains(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string FlagRows(const Json& hosts, const char* word) {
    std::string rows =
        Row(hosts, word, [&](const Json& host) { return Hexadecimal(host[word]["value"].get<std::uint32_t>()); });
    std::vector<std::string> all;
    for (const Json& host : hosts) {
        for (const std::string& name : FlagNames(host, word)) {
            if (!Contains(all, name)) all.push_back(name);
        }
    }
    for (const std::string& name : all) {
        rows += Row(hosts, "  " + name,
                    [&](const Json& host) { return Contains(FlagNames(host, word), name) ? "yes" : "-"; });
    }
    return rows;
}

std::string Capabilities(const Json& hosts) {
    std::string text = Padded("Told to the hosts", 52);
    for (const Json& host : hosts) {
        text += Padded(Value(host["host"]), 13);
    }
    text = text.substr(0, text.find_last_not_of(' ') + 1) + "\n" + FlagRows(hosts, "out_flags") +
           FlagRows(hosts, "out_flags2");
    text += Row(hosts, "pixel formats", [](const Json& host) {
        std::string formats;
        for (const Json& format : host["pixel_formats"]) {
            formats += (formats.empty() ? "" : " ") + Value(format);
        }
        return formats.empty() ? "-" : formats;
    });
    for (const Json& host : hosts) {
        if (host.contains("refused"))
            text += "  The " + Value(host["host"]) + " is refused: " + Value(host["refused"]) + ".\n";
    }
    return text;
}

std::string Range(const Json& range) {
    return Value(range[0]) + " to " + Value(range[1]);
}

std::string Menu(const Json& parameter) {
    const int offered = parameter["offered"].get<int>(), initial = parameter["default"].get<int>();
    std::string text;
    for (int number = 1; const Json& choice : parameter["choices"]) {
        if (number > 1) text += number == offered + 1 ? "; not offered: " : ", ";
        text += std::to_string(number++) + " " +
                (choice.get_ref<const std::string&>().empty() ? "(empty)" : Value(choice));
    }
    if (text.empty()) text = "no choices";
    return text + "; default " + std::to_string(initial) + (initial < 1 || initial > offered ? ", no choice" : "");
}

std::string Values(const Json& parameter) {
    if (parameter.contains("choices")) return Menu(parameter);
    if (parameter.contains("valid_range")) {
        return Range(parameter["valid_range"]) + ", slider " + Range(parameter["slider_range"]) + "; default " +
               Value(parameter["default"]) + "; " + Value(parameter["decimals"]) + " decimals";
    }
    if (parameter.contains("default_percent")) {
        const Json& point = parameter["default_percent"];
        return "default " + Value(point[0]) + " %, " + Value(point[1]) + " % of the layer; " +
               (parameter["inside_layer_only"].get<bool>() ? "stays inside it" : "may lie outside");
    }
    return "";
}

std::string Parameters(const Json& parameters) {
    std::string text = "Parameters\n";
    for (const Json& parameter : parameters) {
        text += "  " + Padded(Value(parameter["index"]), 4) + Padded(Value(parameter["name"]), 32) + "  " +
                Padded(Value(parameter["type"]), 15) + "disk id " + Value(parameter["id"]) + "\n";
        if (const std::string values = Values(parameter); !values.empty()) text += Wrapped(values, 6);
    }
    return text;
}

}  // namespace

std::string TextOf(const Json& description) {
    return Identity(description) + "\n" + Capabilities(description["hosts"]) + "\n" +
           Parameters(description["parameters"]);
}

}  // namespace nuvhost
