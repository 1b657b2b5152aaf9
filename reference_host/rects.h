// Rectangles of pixels.
#pragma once

#include <algorithm>

#include "pf_basics.h"

namespace refhost {

inline bool IsEmpty(const PF_LRect& rect) {
    return rect.left >= rect.right || rect.top >= rect.bottom;
}

// The pixels that both have. If there are none, the result is empty, but its sides are not always 0.
inline PF_LRect Intersection(const PF_LRect& a, const PF_LRect& b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

// An empty rectangle is inside every other.
inline bool IsInside(const PF_LRect& inner, const PF_LRect& outer) {
    return IsEmpty(inner) || (inner.left >= outer.left && inner.top >= outer.top && inner.right <= outer.right &&
                              inner.bottom <= outer.bottom);
}

}  // namespace refhost
