// Names and types of the picture library that reading and writing share.
#pragma once

#include <OpenImageIO/typedesc.h>

#include <string_view>

#include "files/file_checks.h"
#include "picture/file_options.h"
#include "picture/picture.h"

namespace nuvhost {

constexpr auto kStraightAlpha = "oiio:UnassociatedAlpha";
constexpr std::string_view kWindowedFormat = "openexr";  // the only format whose display window nuvhost uses

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

inline OIIO::TypeDesc TypeOf(PixelType type) {
    switch (type) {
        case PixelType::uint8:
            return OIIO::TypeDesc::UINT8;
        case PixelType::uint16:
            return OIIO::TypeDesc::UINT16;
        case PixelType::half:
            return OIIO::TypeDesc::HALF;
        case PixelType::float32:
            break;
    }
    return OIIO::TypeDesc::FLOAT;
}

}  // namespace nuvhost
