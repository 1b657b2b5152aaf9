// The library under test.
#pragma once

#include <filesystem>

namespace support {

// The effect that this build made, as the system that runs the tests writes its path.
std::filesystem::path PluginPath();

}  // namespace support
