// The library under test.
#pragma once

#include <filesystem>

namespace support {

// The path of the effect that this build made. The Windows tests get it as Wine spells it.
std::filesystem::path PluginPath();

}  // namespace support
