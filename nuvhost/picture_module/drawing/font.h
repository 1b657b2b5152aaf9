// The font of charts and labels.
#pragma once

#include <OpenImageIO/imagebufalgo.h>

#include <stdexcept>
#include <string>

namespace nuvhost {

// By its file's name: the picture library looks through the system's font folders itself.
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
