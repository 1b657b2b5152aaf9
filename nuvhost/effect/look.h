// What the command line and a settings file say of the effect's parameters.
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

// What an instance of the effect holds. In a file it is JSON: parameters by the ids that projects store them under,
// with the values that the command line would have, and the instance's sequence data.
struct Look {
    ParameterTexts texts;
    std::vector<std::byte> sequenceData;  // empty: that of a new instance
    MovingSettings settings;
};

// The command line over the settings file, if there is one, over the defaults. Throws UsageError for a value that
// makes no sense, and std::runtime_error for a file that cannot be read; both name the culprit, a file's by its
// key.
Look MakeLook(const std::optional<std::filesystem::path>& file, const ParameterTexts& commandLine);

// What can be known of it before: UsageError if it is no name of a file, if it is one of `taken` under whatever
// name, or if it cannot be written there. `foldersCome`: those of `taken` are made before it is.
void CheckSaving(const std::filesystem::path& file, const std::vector<std::filesystem::path>& taken,
                 bool foldersCome);

// Throws std::runtime_error.
void SaveLook(const std::filesystem::path& file, const Look& look);

}  // namespace nuvhost
