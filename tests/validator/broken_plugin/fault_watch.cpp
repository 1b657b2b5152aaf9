#include "fault_watch.h"

#include <string_view>

namespace broken {
namespace {

unsigned g_seen = 0;
PF_PreRenderCallbacks g_preRender;
PF_SmartRenderCallbacks g_smartRender;
// The host's suites, and those that the effect gets in their place.
PF_HandleSuite1 g_hostHandles, g_handles;
PF_Iterate8Suite1 g_hostIterate, g_iterate;
PF_WorldSuite2 g_hostWorlds, g_worlds;
PF_PixelFormatSuite1 g_hostFormats, g_formats;

const PF_InData& Host() {
    return OwnRecords::Host();
}

PF_Err Note(Seen seen, PF_Err code) {
    if (code != PF_Err_NONE) g_seen |= seen;
    return code;
}

template <class Pointer>
Pointer NoteNull(Seen seen, Pointer pointer) {
    if (pointer == nullptr) g_seen |= seen;
    return pointer;
}

// Remembers the host's suite, and returns a copy in which `change` has set functions.
template <class Suite, class Change>
const void* Replace(const void* theirs, Suite& host, Suite& own, Change change) {
    host = own = *static_cast<const Suite*>(theirs);
    change(own);
    return &own;
}

const void* Watched(std::string_view name, const void* suite) {
    if (name == "PF Handle Suite") {
        return Replace(suite, g_hostHandles, g_handles, [](PF_HandleSuite1& own) {
            own.host_new_handle = [](A_HandleSize size) {
                return NoteNull(handleNull, g_hostHandles.host_new_handle(size));
            };
            own.host_lock_handle = [](PF_Handle handle) {
                return NoteNull(handle != nullptr ? lockNull : nullLocked, g_hostHandles.host_lock_handle(handle));
            };
        });
    }
    if (name == "PF Iterate8 Suite") {
        return Replace(suite, g_hostIterate, g_iterate, [](PF_Iterate8Suite1& own) {
            if (own.iterate_generic == nullptr) return;
            own.iterate_generic = [](std::int32_t iterations, void* refcon, PF_IterateRowFunc function) {
                const PF_Err code = g_hostIterate.iterate_generic(iterations, refcon, function);
                return g_seen & aborted ? code : Note(rowStopped, code);
            };
        });
    }
    if (name == "PF World Suite") {
        return Replace(suite, g_hostWorlds, g_worlds, [](PF_WorldSuite2& own) {
            own.PF_GetPixelFormat = [](const PF_EffectWorld* world, PF_PixelFormat* format) {
                return Note(formatUnknown, g_hostWorlds.PF_GetPixelFormat(world, format));
            };
        });
    }
    if (name == "PF Pixel Format Suite") {
        return Replace(suite, g_hostFormats, g_formats, [](PF_PixelFormatSuite1& own) {
            own.GetPixelFormat = [](PF_EffectWorld* world, PF_PixelFormat* format) {
                return Note(formatUnknown, g_hostFormats.GetPixelFormat(world, format));
            };
            own.ClearSupportedPixelFormats = [](PF_ProgPtr ref) {
                return Note(formatRefused, g_hostFormats.ClearSupportedPixelFormats(ref));
            };
            own.AddSupportedPixelFormat = [](PF_ProgPtr ref, PF_PixelFormat format) {
                return Note(formatRefused, g_hostFormats.AddSupportedPixelFormat(ref, format));
            };
        });
    }
    return suite;
}

std::int32_t Acquire(const char* name, std::int32_t version, const void** suite) {
    const std::int32_t code = Host().pica_basicP->AcquireSuite(name, version, suite);
    if (code != 0) {
        g_seen |= suiteRefused;
    } else if (*suite == nullptr) {
        g_seen |= suiteNull;
    } else {
        *suite = Watched(name, *suite);
    }
    return code;
}

PF_Err CheckoutLayer(PF_ProgPtr ref, std::int32_t index, std::int32_t id, const PF_RenderRequest* request,
                     std::int32_t time, std::int32_t step, std::uint32_t scale, PF_CheckoutResult* result) {
    return Note(layerOut, g_preRender.checkout_layer(ref, index, id, request, time, step, scale, result));
}

PF_Err CheckoutParam(PF_ProgPtr ref, std::int32_t index, std::int32_t time, std::int32_t step, std::uint32_t scale,
                     PF_ParamDef* param) {
    return Note(parameterOut, Host().inter.checkout_param(ref, index, time, step, scale, param));
}

}  // namespace

FaultWatch::FaultWatch(MainCall& command) : own_(command) {
    g_seen = 0;
    own_.basic.AcquireSuite = Acquire;
    own_.basic.ReleaseSuite = [](const char* name, std::int32_t version) {
        return Note(releaseRefused, Host().pica_basicP->ReleaseSuite(name, version));
    };
    own_.utils.host_new_handle = [](A_HandleSize size) {
        return NoteNull(handleNull, Host().utils->host_new_handle(size));
    };
    own_.utils.host_lock_handle = [](PF_Handle handle) {
        return NoteNull(lockNull, Host().utils->host_lock_handle(handle));
    };
    own_.utils.new_world = [](PF_ProgPtr ref, std::int32_t width, std::int32_t height, std::int32_t flags,
                              PF_EffectWorld* world) {
        return Note(worldRefused, Host().utils->new_world(ref, width, height, flags, world));
    };
    own_.inData.inter.checkout_param = CheckoutParam;
    own_.inData.inter.checkin_param = [](PF_ProgPtr ref, PF_ParamDef* param) {
        return Note(parameterIn, Host().inter.checkin_param(ref, param));
    };
    own_.inData.inter.add_param = [](PF_ProgPtr ref, std::int32_t index, PF_ParamDef* param) {
        return Note(parameterRefused, Host().inter.add_param(ref, index, param));
    };
    own_.inData.inter.abort = [](PF_ProgPtr ref) { return Note(aborted, Host().inter.abort(ref)); };

    if (command.cmd == PF_Cmd_SMART_PRE_RENDER) {
        preRender_ = *static_cast<const PF_PreRenderExtra*>(command.extra);
        g_preRender = preRenderCallbacks_ = *preRender_.cb;
        preRenderCallbacks_.checkout_layer = CheckoutLayer;
        preRender_.cb = &preRenderCallbacks_;
        command.extra = &preRender_;
    }
    if (command.cmd == PF_Cmd_SMART_RENDER) {
        smartRender_ = *static_cast<const PF_SmartRenderExtra*>(command.extra);
        g_smartRender = smartRenderCallbacks_ = *smartRender_.cb;
        smartRenderCallbacks_.checkout_layer_pixels = [](PF_ProgPtr ref, std::int32_t id, PF_EffectWorld** world) {
            return Note(layerOut, g_smartRender.checkout_layer_pixels(ref, id, world));
        };
        smartRenderCallbacks_.checkout_output = [](PF_ProgPtr ref, PF_EffectWorld** world) {
            return Note(outputOut, g_smartRender.checkout_output(ref, world));
        };
        smartRender_.cb = &smartRenderCallbacks_;
        command.extra = &smartRender_;
    }
}

bool FaultWatch::Saw(unsigned any) const {
    return (g_seen & any) != 0;
}

}  // namespace broken
