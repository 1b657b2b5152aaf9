// The effect's parameters from the command line and from a settings file.
#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "effect/settings.h"

namespace nuvhost {

// In the order of kParameterTable, as written on the command line. Empty where a parameter is not given.
using ParameterTexts = std::array<std::optional<std::string>, kParameters>;

// Everything that an instance of the effect holds. In a file it is JSON: the instance's sequence data, and the
// parameters by the ids that saved projects use, with values as on the command line.
struct Look {
    ParameterTexts texts;
    std::vector<std::byte> sequenceData;  // empty for a new instance
    MovingSettings settings;
};

// Takes each parameter from the command line, or else from the settings file, or else its default. Throws
// UsageError for a value that is not valid; its text names the option, or the file and the key. Throws
// std::runtime_error for a file that cannot be read.
Look MakeLook(const std::optional<std::filesystem::path>& file, const ParameterTexts& commandLine);

// Checks before the render whether the settings can be saved. Throws UsageError if the name is not that of a file,
// if it leads to one of the files in `taken`, or if it cannot be written. If `foldersCome` is true, the run creates
// the folders of `taken` before it saves the settings, so they may be missing now.
void CheckSaving(const std::filesystem::path& file, const std::vector<std::filesystem::path>& taken,
                 bool foldersCome);

// Throws std::runtime_error.
void SaveLook(const std::filesystem::path& file, const Look& look);

}  // namespace nuvhost
