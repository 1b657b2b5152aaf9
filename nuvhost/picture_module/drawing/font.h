// The font of charts and labels.
#pragma once

#include <OpenImageIO/imagebufalgo.h>

#include <stdexcept>
#include <string>

namespace nuvhost {

// The name of the font's file. The picture library finds it in the system's font folders.
// Throws std::runtime_error when the font is not installed.
inline const std::string& FontName() {
    static const std::string kName = [] {
        std::string name = "DejaVuSans";
        if (!OIIO::ImageBufAlgo::text_size("x", 16, name).defined()) {
            OIIO::geterror();
            throw std::runtime_error("the font " + name + " is not installed (package fonts-dejavu-core)");
        }
        return name;
    }();
    return kName;
}

}  // namespace nuvhost
