// Faults in renders. A hook sees the worlds in the same way in smart and plain renders.
#pragma once

#include <cstddef>
#include <cstdint>

#include "control.h"

namespace broken {

// One render command. The worlds are those that the effect has got, or null.
struct RenderCall {
    MainCall& command;
    PF_EffectWorld* input = nullptr;
    PF_EffectWorld* output = nullptr;
    int pixelBytes = 4;
    std::uint8_t lastPixel[16] = {};  // of the output, as it was before
    PF_Err result = PF_Err_NONE;

    bool OutputIs(signs::Size size) const { return IsOfSize(output, size); }
    bool InputIs(signs::Size size) const { return IsOfSize(input, size); }

    std::uint8_t* LastPixel() const;  // of the output
    // Whether the rows have gaps between them or are stored bottom row first.
    bool IsSpread(const PF_EffectWorld* world) const { return world->rowbytes != world->width * pixelBytes; }

    static bool IsOfSize(const PF_EffectWorld* world, signs::Size size) {
        return world != nullptr && world->width == size.width && world->height == size.height;
    }
};

inline std::uint8_t* Bytes(const PF_EffectWorld* world) {
    return reinterpret_cast<std::uint8_t*>(world->data);
}

// Lets the true effect render, smart or plain.
RenderCall RenderTruly(MainCall& command);
bool IsRender(const MainCall& command);

// A hook that runs the fault after the effect's render, if the output has the check's own size.
template <void (*fault)(RenderCall&)>
PF_Err With(MainCall& command) {
    if (!IsRender(command)) return Effect(command);
    RenderCall render = RenderTruly(command);
    if (render.OutputIs(OwnSize())) fault(render);
    return render.result;
}

// ---- Faults that several controls have -----------------------------------------------------------------------

inline void ChangesAPixel(RenderCall& render) {
    *Bytes(render.output) ^= 1;
}
void KeepsLastPixel(RenderCall& render);
inline void Refuses(RenderCall& render) {
    render.result = PF_Err_INTERNAL_STRUCT_DAMAGED;
}
inline void WritesBeforeOutput(RenderCall& render) {
    *(Bytes(render.output) - 1) = 0;
}
inline void WritesFirstByte(RenderCall& render) {
    *Bytes(render.output) = 0;
}
inline void WritesBehindFirstRow(RenderCall& render) {
    if (render.IsSpread(render.output)) Bytes(render.output)[render.output->width * render.pixelBytes] = 0;
}

}  // namespace broken
