// Command-line options that commands share.
#pragma once

#include <CLI/CLI.hpp>

#include <filesystem>
#include <functional>
#include <string>

#include "effect/settings.h"

namespace nuvhost {

// All of these take one value; the variables must outlive the command's parse.
inline CLI::Option* AddTextOption(CLI::App& command, const std::string& name, const std::string& type,
                                  const std::string& help, const std::function<void(const std::string&)>& take) {
    return command.add_option_function<std::string>(name, take, help)->type_name(type);
}

// For options that take the name of a file.
inline CLI::Validator FileName() {
    return {[](const std::string& text) { return text.empty() ? "\"\" is not the name of a file" : ""; }, ""};
}

inline constexpr auto kCenterHelp =
    "Centre of the enlargement in pixels or percent, also mixed; may lie outside. The effect mirrors Y: at the top "
    "it enlarges about the bottom edge (default: 50%,50%)";

inline void AddCenterOption(CLI::App& command, Center& center) {
    AddTextOption(command, "--center", "X,Y", kCenterHelp,
                  [&center](const std::string& text) { center = ParseCenter("--center", text); });
}

inline CLI::Option* AddWordOption(CLI::App& command, const std::string& name, Words words, int& choice,
                                  const std::string& help) {
    const std::string initial(words[static_cast<std::size_t>(choice - 1)]);
    return AddTextOption(
        command, name, Joined(words, "|"), help + " (default: " + initial + ")",
        [name, words, &choice](const std::string& text) { choice = ParseWord(name, text, words); });
}

inline void AddAmountOption(CLI::App& command, double& amount, const std::string& help) {
    AddTextOption(command, "--amount", "-100..100", help,
                  [&amount](const std::string& text) { amount = ParseNumber("--amount", text, -100, 100); });
}

inline CLI::Option* AddPluginOption(CLI::App& command, std::filesystem::path& plugin) {
    return command
        .add_option("--plugin", plugin,
                    "The effect's binary (default: nuv_chromaber.so beside nuvhost or one folder up)")
        ->check(FileName())
        ->type_name("PATH");
}

}  // namespace nuvhost
