// Command-line options that several commands have.
#pragma once

#include <CLI/CLI.hpp>

#include <cmath>
#include <filesystem>
#include <functional>
#include <string>

#include "effect/settings.h"

namespace nuvhost {

// Each of these options takes one value. The variables that receive the values must exist until the command line
// has been parsed.
inline CLI::Option* AddTextOption(CLI::App& command, const std::string& name, const std::string& type,
                                  const std::string& help, const std::function<void(const std::string&)>& take) {
    return command.add_option_function<std::string>(name, take, help)->type_name(type);
}

// A check for options that take the name of a file.
inline CLI::Validator FileName() {
    return {[](const std::string& text) { return text.empty() ? "\"\" is not a file name" : ""; }, ""};
}

inline CLI::Option* AddWordOption(CLI::App& command, const std::string& name, Words words, int& choice,
                                  const std::string& help) {
    const std::string initial(words[static_cast<std::size_t>(choice - 1)]);
    return AddTextOption(
        command, name, Joined(words, "|"), help + " (default: " + initial + ")",
        [name, words, &choice](const std::string& text) { choice = ParseWord(name, text, words); });
}

// The form of a parameter's value, as --help shows it.
inline std::string TypeText(const ParameterRow& row) {
    switch (row.kind) {
        case ParameterKind::point:
            return "X,Y";
        case ParameterKind::choice:
            return Joined(row.words, "|");
        case ParameterKind::number:
            break;
    }
    return std::to_string(std::lround(row.least)) + ".." + std::to_string(std::lround(row.most));
}

// A command passes `help` if the parameter has another meaning or default there.
inline CLI::Option* AddParameterOption(CLI::App& command, const ParameterRow& row,
                                       const std::function<void(const std::string&)>& take, std::string help = {}) {
    if (help.empty()) {
        help.append(row.help).append(" (default: ").append(row.initial).append(row.initialHelp).append(")");
    }
    return AddTextOption(command, std::string(row.option), TypeText(row), help, take);
}

inline CLI::Option* AddPluginOption(CLI::App& command, std::filesystem::path& plugin) {
    return command
        .add_option("--plugin", plugin,
                    "The effect's binary (default: nuv_chromaber.so beside nuvhost or one folder up)")
        ->check(FileName())
        ->type_name("PATH");
}

}  // namespace nuvhost
