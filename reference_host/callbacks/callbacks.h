// The callbacks that the host offers, and the tables that hold them.
#pragma once

#include "pf_data.h"
#include "pf_smart_render.h"
#include "reference_host/host.h"

namespace refhost {

// Parameters
PF_Err CheckoutParam(PF_ProgPtr ref, std::int32_t index, std::int32_t whatTime, std::int32_t timeStep,
                     std::uint32_t timeScale, PF_ParamDef* param);
PF_Err CheckinParam(PF_ProgPtr ref, PF_ParamDef* param);
PF_Err AddParam(PF_ProgPtr ref, std::int32_t index, PF_ParamDef* param);

// Layers
PF_Err Abort(PF_ProgPtr ref);
PF_Err CheckoutLayer(PF_ProgPtr ref, std::int32_t index, std::int32_t checkoutId, const PF_RenderRequest* request,
                     std::int32_t whatTime, std::int32_t timeStep, std::uint32_t timeScale,
                     PF_CheckoutResult* result);
PF_Err CheckoutLayerPixels(PF_ProgPtr ref, std::int32_t checkoutId, PF_EffectWorld** pixels);
PF_Err CheckinLayerPixels(PF_ProgPtr ref, std::int32_t checkoutId);
PF_Err CheckoutOutput(PF_ProgPtr ref, PF_EffectWorld** output);

// Handles
PF_Handle NewHandle(A_HandleSize size);
void* LockHandle(PF_Handle handle);
void UnlockHandle(PF_Handle handle);
void DisposeHandle(PF_Handle handle);
A_HandleSize GetHandleSize(PF_Handle handle);
PF_Err ResizeHandle(A_HandleSize size, PF_Handle* handle);

// Worlds
PF_Err NewWorld(PF_ProgPtr ref, std::int32_t width, std::int32_t height, std::int32_t flags, PF_EffectWorld* world);
PF_Err NewWorldInFormat(PF_ProgPtr ref, std::int32_t width, std::int32_t height, PF_Boolean clear,
                        PF_PixelFormat format, PF_EffectWorld* world);
PF_Err NewWorldOfPixelFormat(PF_ProgPtr ref, std::uint32_t width, std::uint32_t height, std::int32_t flags,
                             PF_PixelFormat format, PF_EffectWorld* world);
PF_Err DisposeWorld(PF_ProgPtr ref, PF_EffectWorld* world);
PF_Err WorldSuiteGetPixelFormat(const PF_EffectWorld* world, PF_PixelFormat* format);
PF_Err FormatSuiteGetPixelFormat(PF_EffectWorld* world, PF_PixelFormat* format);
PF_Err AddSupportedPixelFormat(PF_ProgPtr ref, PF_PixelFormat format);
PF_Err ClearSupportedPixelFormats(PF_ProgPtr ref);
// Writes one pixel of this colour to `pixel`. White has the value 1 in each channel, in every format.
PF_Err ConvertColor(PF_PixelFormat format, float alpha, float red, float green, float blue, void* pixel);

// Iteration
PF_Err IteratePixels(PF_InData* inData, std::int32_t progressBase, std::int32_t progressFinal,
                     PF_EffectWorld* source, const PF_Rect* area, void* refcon, PF_IteratePixel8Func pixelFunction,
                     PF_EffectWorld* destination);
PF_Err IterateRows(std::int32_t iterations, void* refcon, PF_IterateRowFunc rowFunction);

// Text
char* CopyString(char* destination, const char* source);
int FormatString(char* buffer, const char* format, ...);

// The tables for a command's record. All hosts in the process share them.
PF_InteractCallbacks InteractTable();
PF_UtilCallbacks* UtilTable();
SPBasicSuite* BasicSuite();

// The rectangle of a world in its layer, limited to what 32 bits can hold.
PF_LRect AreaOf(const PF_EffectWorld& world);

// Writes a value into a definition of its type. Does not change a definition of another type.
void PutValue(const ParamValue& value, PF_ParamDef& param);

}  // namespace refhost
