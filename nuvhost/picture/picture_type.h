// What reading and writing share: names that the picture library has for things, and how a file's failure is told.
#pragma once

#include <OpenImageIO/typedesc.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "picture/picture.h"

namespace nuvhost {

constexpr auto kStraightAlpha = "oiio:UnassociatedAlpha";
constexpr std::string_view kWindowedFormat = "openexr";  // whose display window every reader heeds

// Of `error`, which may go on for many lines, the user gets the first.
[[noreturn]] inline void Fail(const std::filesystem::path& file, std::string_view what,
                              std::string_view error = "") {
    error = error.substr(0, error.find('\n'));
    throw std::runtime_error(file.string() + ": " + std::string(what) + (error.empty() ? "" : ": ") +
                             std::string(error));
}

inline OIIO::TypeDesc TypeOf(Depth depth) {
    switch (depth) {
        case Depth::bits8:
            return OIIO::TypeDesc::UINT8;
        case Depth::bits16:
            return OIIO::TypeDesc::UINT16;
        case Depth::bits32:
            break;
    }
    return OIIO::TypeDesc::FLOAT;
}

}  // namespace nuvhost
