// A picture of floats, and the place of a pixel in it.
#pragma once

#include "support/support.h"

inline support::Scene FloatScene(int width, int height, double amount) {
    support::Scene scene = support::SceneOf(kFormatArgbFloat, width, height);
    scene.amount = amount;
    return scene;
}

inline std::size_t At(const support::Scene& scene, int x, int y) {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(scene.output.width) + static_cast<std::size_t>(x);
}
