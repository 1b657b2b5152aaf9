#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "reference_host/callbacks/callbacks.h"
#include "reference_host/internal/host_impl.h"

namespace refhost {
namespace {

PF_Err Progress(PF_ProgPtr, std::int32_t, std::int32_t) {
    return PF_Err_NONE;
}
PF_Err RegisterUi(PF_ProgPtr, void*) {
    return PF_Err_NONE;
}

// The ANSI suite and the ANSI block of the utilities have the same entries.
template <class Table>
void FillAnsi(Table& table) {
    table.atan = std::atan;
    table.atan2 = std::atan2;
    table.ceil = std::ceil;
    table.cos = std::cos;
    table.exp = std::exp;
    table.fabs = std::fabs;
    table.floor = std::floor;
    table.fmod = std::fmod;
    table.hypot = std::hypot;
    table.log = std::log;
    table.log10 = std::log10;
    table.pow = std::pow;
    table.sin = std::sin;
    table.sqrt = std::sqrt;
    table.tan = std::tan;
    table.sprintf = FormatString;
    table.strcpy = CopyString;
    table.asin = std::asin;
    table.acos = std::acos;
}

const PF_ANSICallbacksSuite1& AnsiSuite() {
    static const auto suite = [] {
        PF_ANSICallbacksSuite1 table{};
        FillAnsi(table);
        return table;
    }();
    return suite;
}

template <int white>
PF_Err Opaque(PF_PixelFormat format, void* pixel) {
    return ConvertColor(format, 1, white, white, white, pixel);
}

const PF_Iterate8Suite1& IterateSuite(bool generic) {
    static const PF_Iterate8Suite1 full{IteratePixels, nullptr, nullptr, nullptr, IterateRows};
    static const PF_Iterate8Suite1 withoutGeneric{IteratePixels, nullptr, nullptr, nullptr, nullptr};
    return generic ? full : withoutGeneric;
}

const PF_HandleSuite1 kHandleSuite{NewHandle, LockHandle, UnlockHandle, DisposeHandle, GetHandleSize, ResizeHandle};

const PF_WorldSuite2 kWorldSuite{NewWorldInFormat, DisposeWorld, WorldSuiteGetPixelFormat};

const PF_PixelFormatSuite1 kPixelFormatSuite{AddSupportedPixelFormat,
                                             ClearSupportedPixelFormats,
                                             NewWorldOfPixelFormat,
                                             DisposeWorld,
                                             FormatSuiteGetPixelFormat,
                                             Opaque<0>,
                                             Opaque<1>,
                                             ConvertColor};

struct OfferedSuite {
    const char* name;
    std::int32_t version;
    const void* (*table)(const HostOptions&);
};

constexpr OfferedSuite kSuites[] = {
    {"PF ANSI Suite", 1, [](const HostOptions&) -> const void* { return &AnsiSuite(); }},
    {"PF Handle Suite", 2, [](const HostOptions&) -> const void* { return &kHandleSuite; }},
    {"PF Iterate8 Suite", 1,
     [](const HostOptions& options) -> const void* { return &IterateSuite(options.genericIteration); }},
    {"PF Pixel Format Suite", 1, [](const HostOptions&) -> const void* { return &kPixelFormatSuite; }},
    {"PF World Suite", 2, [](const HostOptions&) -> const void* { return &kWorldSuite; }},
};

std::string Title(const char* name, std::int32_t version) {
    return std::string(name ? name : "") + " " + std::to_string(version);
}

std::int32_t AcquireSuite(const char* name, std::int32_t version, const void** suite) {
    const Callback callback(Call::acquireSuite);
    const auto fate = callback.Fate([&] { return Title(name, version); });
    if (suite) *suite = nullptr;
    if (fate) return *fate;
    if (!name || !suite) {
        callback.ReportMisuse("no name, or nowhere to put the suite");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    for (const auto& offered : kSuites) {
        if (offered.version != version || std::strcmp(offered.name, name) != 0) continue;
        *suite = offered.table(callback.command().host.options);
        auto& state = callback.state();
        const std::lock_guard lock(state.mutex);
        ++state.suites[{name, version}].acquired;
        return PF_Err_NONE;
    }
    auto& state = callback.state();
    const std::lock_guard lock(state.mutex);
    state.missing.insert({name, version});
    return PF_Err_BAD_CALLBACK_PARAM;
}

std::int32_t ReleaseSuite(const char* name, std::int32_t version) {
    const Callback callback(Call::releaseSuite);
    if (!callback) return PF_Err_INVALID_CALLBACK;
    bool owed = false;
    {
        auto& state = callback.state();
        const std::lock_guard lock(state.mutex);
        auto& use = state.suites[{name ? name : "", version}];
        owed = use.released < use.acquired;
        ++use.released;
    }
    if (!owed) callback.ReportMisuse(Title(name, version) + " is not acquired");
    const auto fate = callback.Fate([&] { return Title(name, version); });
    return fate.value_or(owed ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM);
}

}  // namespace

char* CopyString(char* destination, const char* source) {
    const Callback callback(Call::copyString);
    if (callback.Fate([&] { return std::string(source ? source : ""); })) return nullptr;
    if (!destination || !source) {
        callback.ReportMisuse("a null string");
        return nullptr;
    }
    std::memcpy(destination, source, std::strlen(source) + 1);
    return destination;
}

int FormatString(char* buffer, const char* format, ...) {
    const Callback callback(Call::formatString);
    if (const auto fate = callback.Fate([&] { return std::string(format ? format : ""); })) return *fate;
    if (!buffer || !format) {
        callback.ReportMisuse("a null string");
        return -1;
    }
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsprintf(buffer, format, arguments);
    va_end(arguments);
    return length;
}

PF_InteractCallbacks InteractTable() {
    PF_InteractCallbacks table{};
    table.checkout_param = CheckoutParam;
    table.checkin_param = CheckinParam;
    table.add_param = AddParam;
    table.abort = Abort;
    table.progress = Progress;
    table.register_ui = RegisterUi;
    return table;
}

PF_UtilCallbacks* UtilTable() {
    static PF_UtilCallbacks table = [] {
        PF_UtilCallbacks callbacks{};
        callbacks.new_world = NewWorld;
        callbacks.dispose_world = DisposeWorld;
        callbacks.host_new_handle = NewHandle;
        callbacks.host_lock_handle = LockHandle;
        callbacks.host_unlock_handle = UnlockHandle;
        callbacks.host_dispose_handle = DisposeHandle;
        callbacks.host_get_handle_size = GetHandleSize;
        callbacks.host_resize_handle = ResizeHandle;
        FillAnsi(callbacks.ansi);
        return callbacks;
    }();
    return &table;
}

SPBasicSuite* BasicSuite() {
    static SPBasicSuite suite{AcquireSuite, ReleaseSuite, nullptr, nullptr, nullptr, nullptr, nullptr};
    return &suite;
}

}  // namespace refhost
