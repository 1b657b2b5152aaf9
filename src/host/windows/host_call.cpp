#include "host/host_call.h"

#include <windows.h>

#include <cstdint>
#include <cstring>

#include "pf_basics.h"

namespace nuv {
namespace {

// What the records of the other runtime look like. Their addresses are relative to the image of the code that
// threw.
constexpr DWORD kThrow = 0xE06D7363;
constexpr ULONG_PTR kMagic = 0x19930520;  // or a little more, depending on the compiler's version

struct ThrowInformation {
    std::int32_t attributes, destructor, compatibility, types;
};
struct CatchableTypes {
    std::int32_t count, first;  // the first type is that of the thrown object
};
struct CatchableType {
    std::int32_t properties, descriptor;
};
struct TypeDescriptor {
    void *table, *spare;
    char name[3];
};
constexpr char kInt[] = ".H";

// Returns false if the address is not readable.
template <class Record>
bool Read(ULONG_PTR address, Record& record) {
    return ReadProcessMemory(GetCurrentProcess(), reinterpret_cast<const void*>(address), &record, sizeof record,
                             nullptr) != 0;
}

PF_Err CodeOf(const EXCEPTION_RECORD& exception) {
    const auto& [magic, object, information, image] =
        reinterpret_cast<const ULONG_PTR(&)[4]>(exception.ExceptionInformation);
    const auto inImage = [base = image](std::int32_t address) {
        return base + static_cast<ULONG_PTR>(std::intptr_t{address});
    };
    ThrowInformation thrown;
    CatchableTypes types;
    CatchableType type;
    TypeDescriptor descriptor;
    PF_Err code;
    const bool isInt = exception.NumberParameters == 4 && magic >= kMagic && magic < kMagic + 16 &&
                       Read(information, thrown) && Read(inImage(thrown.types), types) && types.count > 0 &&
                       Read(inImage(types.first), type) && Read(inImage(type.descriptor), descriptor) &&
                       std::memcmp(descriptor.name, kInt, sizeof kInt) == 0 && Read(object, code);
    return isInt ? code : PF_Err_INTERNAL_STRUCT_DAMAGED;
}

constexpr std::uint64_t kThrew = std::uint64_t{1} << 32;

}  // namespace

extern "C" {

// Runs work(argument) and returns 0. If an exception of the other runtime leaves `work`, returns kThrew with the
// code in the low half.
std::uint64_t nuv_run_guarded(void (*work)(void* argument), void* argument);
extern const char nuv_guarded_end;  // the place in nuv_run_guarded from which it returns

// Windows calls it when an exception leaves `work`, before it unwinds anything.
__attribute__((used)) EXCEPTION_DISPOSITION nuv_take_exception(EXCEPTION_RECORD* exception, void* frame, CONTEXT*,
                                                               DISPATCHER_CONTEXT* dispatcher) {
    if (exception->ExceptionCode != kThrow) return ExceptionContinueSearch;
    const std::uint64_t result = kThrew | static_cast<std::uint32_t>(nuv::CodeOf(*exception));
    // Runs the destructors of the frames in between, and continues at nuv_guarded_end with this result. It does not
    // return.
    RtlUnwindEx(frame, const_cast<char*>(&nuv_guarded_end), exception, reinterpret_cast<void*>(result),
                dispatcher->ContextRecord, dispatcher->HistoryTable);
    return ExceptionContinueSearch;
}
}

// The compiler cannot give a function of C++ a handler of its own. The instruction after the call must not belong
// to the function's end, because Windows does not ask the handler of a function that is about to return.
asm(R"(
    .text
    .p2align 4
    .seh_proc nuv_run_guarded
nuv_run_guarded:
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_handler nuv_take_exception, @except
    .seh_endprologue
    movq %rcx, %rax
    movq %rdx, %rcx
    call *%rax
    xorl %eax, %eax
nuv_guarded_end:
    addq $40, %rsp
    ret
    .seh_endproc
)");

void RunGuarded(void (*work)(void* argument), void* argument) {
    if (const std::uint64_t result = nuv_run_guarded(work, argument)) throw int{static_cast<PF_Err>(result)};
}

}  // namespace nuv
