#include "plugin_path.h"

namespace support {

std::filesystem::path PluginPath() {
    return NUV_PLUGIN_PATH;
}

}  // namespace support
