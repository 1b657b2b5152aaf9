#include "info/describe.h"

#include <array>
#include <charconv>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include "info/names.h"
#include "reference_host/host.h"

namespace nuvhost {
namespace {

using Json = nlohmann::ordered_json;
using refhost::Host;

template <std::size_t size>
std::string Text(const char (&field)[size]) {
    const auto* end = static_cast<const char*>(std::memchr(field, 0, size));
    return {field, end ? end : field + size};
}

// The shortest decimal number that is this float: 0.05, not 0.0500000007.
double Shortest(float number) {
    std::array<char, 32> text{};
    const char* end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    double shortest = number;
    std::from_chars(text.data(), end, shortest);
    return shortest;
}

Json Flags(std::int32_t word, std::span<const Flag> known) {
    auto rest = static_cast<std::uint32_t>(word);
    Json names = Json::array(), unknown = Json::array();
    for (const Flag& flag : known) {
        if (rest & flag.bit) names.push_back(flag.name);
        rest &= ~flag.bit;
    }
    for (int bit = 0; bit < 32; ++bit) {
        if (rest >> bit & 1U) unknown.push_back(bit);
    }
    return {{"value", static_cast<std::uint32_t>(word)}, {"names", names}, {"unknown_bits", unknown}};
}

Json PixelFormats(const Host& host) {
    Json formats = Json::array();
    for (const PF_PixelFormat format : host.supportedFormats()) {
        // The bytes of the code in memory are the characters of its name.
        const auto code = static_cast<std::uint32_t>(format);
        formats.push_back(FourCharacters(code << 24 | (code & 0xFF00) << 8 | (code >> 8 & 0xFF00) | code >> 24));
    }
    return formats;
}

void DescribePoint(Json& json, const PF_ParamDefUnion& values) {
    json["default_percent"] = {values.td.x_dephault / 65536.0, values.td.y_dephault / 65536.0};
    json["inside_layer_only"] = values.td.restrict_bounds != 0;
}

void DescribePopup(Json& json, const PF_ParamDefUnion& values) {
    json["default"] = values.pd.dephault;
    json["offered"] = values.pd.num_choices;
    json["choices"] = Json::array();
    std::string_view rest = values.pd.u.namesptr ? values.pd.u.namesptr : "";
    for (std::size_t end = 0; !rest.empty(); rest.remove_prefix(end)) {
        end = std::min(rest.find('|'), rest.size());
        json["choices"].push_back(rest.substr(0, end));
        end += end < rest.size();
    }
}

void DescribeFloatSlider(Json& json, const PF_ParamDefUnion& values) {
    const PF_FloatSliderDef& slider = values.fs_d;
    json["default"] = Shortest(slider.dephault);
    json["valid_range"] = {Shortest(slider.valid_min), Shortest(slider.valid_max)};
    json["slider_range"] = {Shortest(slider.slider_min), Shortest(slider.slider_max)};
    json["decimals"] = slider.precision;
}

Json Parameters(const Host& host) {
    struct Describer {
        PF_ParamType type;
        void (*describe)(Json&, const PF_ParamDefUnion&);
    };
    static constexpr Describer kDescribers[] = {
        {PF_Param_POINT, DescribePoint},
        {PF_Param_POPUP, DescribePopup},
        {PF_Param_FLOAT_SLIDER, DescribeFloatSlider},
    };
    Json parameters = Json::array();
    for (const PF_ParamDef& definition : host.parameters()) {
        Json json{{"index", parameters.size() + 1},
                  {"id", definition.uu.id},
                  {"type", TypeName(definition.param_type)},
                  {"name", Text(definition.name)}};
        for (const auto& [type, describe] : kDescribers) {
            if (type == definition.param_type) describe(json, definition.u);
        }
        parameters.push_back(json);
    }
    return parameters;
}

// What the effect tells one host.
struct Answers {
    Json identity, capabilities, parameters;
};

void Require(PF_Err code, const char* step) {
    if (code == PF_Err_NONE) return;
    throw std::runtime_error("the effect's " + std::string(step) + " fails with code " + std::to_string(code));
}

// Throws a std::runtime_error that names the command that fails and its code.
Answers Ask(Host& host) {
    const refhost::Registration registration = host.Scan();
    Require(registration.result, "registration");
    Require(host.GlobalSetup(), "global set-up");
    const PF_OutData globals = host.outData();
    Require(host.ParamsSetup(), "parameter set-up");
    const std::string about = host.About() == PF_Err_NONE ? Text(host.outData().return_msg) : "";
    host.GlobalSetdown();
    return {.identity = {{"name", registration.name},
                         {"match_name", registration.matchName},
                         {"category", registration.category},
                         {"kind", FourCharacters(static_cast<std::uint32_t>(registration.kind))},
                         {"entry_point", registration.entryPoint},
                         {"effect_api",
                          std::to_string(registration.apiMajor) + "." + std::to_string(registration.apiMinor)},
                         {"version", {{"value", globals.my_version}, {"text", VersionName(globals.my_version)}}},
                         {"about", about}},
            .capabilities = {{"out_flags", Flags(globals.out_flags, OutFlags())},
                             {"out_flags2", Flags(globals.out_flags2, OutFlags2())},
                             {"pixel_formats", PixelFormats(host)}},
            .parameters = Parameters(host)};
}

}  // namespace

Json DescribeEffect(const std::filesystem::path& plugin) {
    const refhost::PluginLibrary library(plugin);
    Json description{{"file", plugin.string()}}, hosts = Json::array(), parameters;
    for (const refhost::PersonalityTraits& traits : refhost::kPersonalities) {
        Host host(library, {.personality = traits.personality});
        Json told{{"host", traits.application}};
        try {
            const Answers answers = Ask(host);
            if (parameters.is_null()) {
                description.update(answers.identity);
                parameters = answers.parameters;
            }
            told.update(answers.capabilities);
        } catch (const std::runtime_error& failure) {
            told["refused"] = failure.what();
        }
        hosts.push_back(told);
    }
    if (parameters.is_null())
        throw std::runtime_error(plugin.string() + ": " + hosts[0]["refused"].get<std::string>());
    description["hosts"] = hosts;
    description["parameters"] = parameters;
    return description;
}

}  // namespace nuvhost
