// The effect's parameters, as options, settings files, help texts and the effect runner know them.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace nuvhost {

// In the effect's order.
enum class Parameter { center, mode, scaling, amount, show };
inline constexpr std::size_t kParameters = 5;

enum class ParameterKind {
    point,   // X,Y in pixels or percent
    choice,  // one of some words
    number,
};

using Words = std::span<const std::string_view>;

// Hosts number the choices from 1: the word at index i stands for choice i + 1. The effect knows two more
// choices of Show. Neither its menu nor the tool offers them.
inline constexpr std::array<std::string_view, 3> kModes{"red-cyan", "green-purple", "blue-yellow"};
inline constexpr std::array<std::string_view, 3> kScalings{"linear", "square", "cubic"};
inline constexpr std::array<std::string_view, 3> kShows{"final", "just-ca", "without-ca"};

// The choices of a render.
struct Choices {
    int mode = 1;
    int scaling = 1;
    int show = 1;
};

struct ParameterRow {
    Parameter parameter;
    ParameterKind kind;
    int id;                 // saved projects and settings files store it under this id
    std::string_view name;  // in the hosts' panel and in settings files
    std::string_view option;
    std::string_view initial;  // the default, as it is written on the command line
    std::string_view help;
    std::string_view initialHelp{};  // what the help says about the default
    Words words{};                   // of a choice
    int Choices::*choice{};
    double least = 0, most = 0;  // of a number

    // The index that the host uses. Index 0 is the layer that the effect is applied to.
    constexpr int index() const { return static_cast<int>(parameter) + 1; }
};

inline constexpr std::array<ParameterRow, kParameters> kParameterTable{{
    {.parameter = Parameter::center,
     .kind = ParameterKind::point,
     .id = 2,
     .name = "Frame center",
     .option = "--center",
     .initial = "50%,50%",
     .help =
         "Centre of the enlargement in pixels or percent, or one of each; may lie outside. The effect mirrors Y: a "
         "centre at the top enlarges about the bottom edge"},
    {.parameter = Parameter::mode,
     .kind = ParameterKind::choice,
     .id = 3,
     .name = "Mode",
     .option = "--mode",
     .initial = kModes[0],
     .help = "Which two colours move apart",
     .words = kModes,
     .choice = &Choices::mode},
    {.parameter = Parameter::scaling,
     .kind = ParameterKind::choice,
     .id = 4,
     .name = "Scaling",
     .option = "--scaling",
     .initial = kScalings[0],
     .help = "How the enlargement grows from the centre outwards",
     .words = kScalings,
     .choice = &Choices::scaling},
    {.parameter = Parameter::amount,
     .kind = ParameterKind::number,
     .id = 5,
     .name = "Amount",
     .option = "--amount",
     .initial = "0",
     .help = "Strength: 1 enlarges by 2 percent; below 0 for the complementary colours",
     .initialHelp = ", no change",
     .least = -100,
     .most = 100},
    {.parameter = Parameter::show,
     .kind = ParameterKind::choice,
     .id = 6,
     .name = "Show",
     .option = "--show",
     .initial = kShows[0],
     .help = "All of the result, only the fringes, or all but the fringes; only alpha differs",
     .words = kShows,
     .choice = &Choices::show},
}};

constexpr bool Complete(const std::array<ParameterRow, kParameters>& table) {
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (table[i].parameter != static_cast<Parameter>(i)) return false;
        if ((table[i].kind == ParameterKind::choice) != (table[i].choice != nullptr)) return false;
    }
    return static_cast<std::size_t>(Parameter::show) + 1 == table.size();
}
static_assert(Complete(kParameterTable), "the table has one row for each parameter, in the order of the enum");

constexpr const ParameterRow& Row(Parameter parameter) {
    return kParameterTable[static_cast<std::size_t>(parameter)];
}

}  // namespace nuvhost
