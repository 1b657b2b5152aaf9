// Command-line options that commands share.
#pragma once

#include <CLI/CLI.hpp>

#include <filesystem>
#include <string>

#include "settings.h"

namespace nuvhost {

// The variables must outlive the command's parse.
inline void AddCenterOption(CLI::App& command, Center& center) {
    command
        .add_option_function<std::string>(
            "--center", [&center](const std::string& text) { center = ParseCenter("--center", text); },
            "Centre of the enlargement in pixels or percent, also mixed; may lie outside. The effect mirrors Y: at "
            "the top it enlarges about the bottom edge (default: 50%,50%)")
        ->type_name("X,Y");
}

inline void AddWordOption(CLI::App& command, const std::string& name, Words words, int& choice,
                          const std::string& help) {
    const std::string initial(words[static_cast<std::size_t>(choice - 1)]);
    command
        .add_option_function<std::string>(
            name, [name, words, &choice](const std::string& text) { choice = ParseWord(name, text, words); },
            help + " (default: " + initial + ")")
        ->type_name(Joined(words, "|"));
}

inline void AddAmountOption(CLI::App& command, double& amount, const std::string& help) {
    command
        .add_option_function<std::string>(
            "--amount", [&amount](const std::string& text) { amount = ParseNumber("--amount", text, -100, 100); },
            help)
        ->type_name("-100..100");
}

inline void AddPluginOption(CLI::App& command, std::filesystem::path& plugin) {
    command
        .add_option("--plugin", plugin,
                    "The effect's binary (default: nuv_chromaber.so beside nuvhost or one folder up)")
        ->type_name("PATH");
}

}  // namespace nuvhost
