#include <windows.h>

#include <cstdio>
#include <stdexcept>
#include <thread>

#include "validator/run/child_process.h"
#include "validator/run/isolation.h"

namespace validator {
namespace {

struct Handle {
    HANDLE value = nullptr;
    Handle() = default;
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() { Close(); }
    void Close() {
        if (value != nullptr) CloseHandle(value);
        value = nullptr;
    }
};

[[noreturn]] void Fail(const char* call) {
    throw std::runtime_error(std::string(call) + ": Windows error " + std::to_string(GetLastError()));
}

// None of the arguments can hold a quotation mark.
std::wstring CommandLine(const Job& job, const std::filesystem::path& nuvhost) {
    const std::string rest = " --check-in-process " + std::string(job.check->id) + " --personality " +
                             std::string(NameOf(job.personality)) + " --seed " + std::to_string(job.seed);
    return L"\"" + nuvhost.wstring() + L"\" validate \"" + job.plugin.wstring() + L"\"" +
           std::wstring(rest.begin(), rest.end());
}

std::string HowEnded(DWORD code) {
    if (code == 0) return "";
    char text[64];
    std::snprintf(text, sizeof text,
                  code >= 0x80000000u ? "crashed with exception 0x%08lx" : "ended with exit code %lu", code);
    return text;
}

}  // namespace

ChildEnd RunChild(const Job& job, std::chrono::milliseconds limit, const std::filesystem::path& nuvhost) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    Handle input, output;
    if (!CreatePipe(&input.value, &output.value, &inherited, 0)) Fail("CreatePipe");
    SetHandleInformation(input.value, HANDLE_FLAG_INHERIT, 0);

    // The child inherits this mode, so that a crash opens neither a message box nor a debugger.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = output.value;
    PROCESS_INFORMATION process{};
    std::wstring commandLine = CommandLine(job, nuvhost);
    if (!CreateProcessW(nuvhost.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &process)) {
        Fail("CreateProcess");
    }
    Handle child, thread;
    child.value = process.hProcess;
    thread.value = process.hThread;
    output.Close();

    ChildEnd end;
    std::thread reader([&] {
        char bytes[4096];
        for (DWORD count = 0; ReadFile(input.value, bytes, sizeof bytes, &count, nullptr) && count > 0;)
            end.output.append(bytes, count);
    });
    DWORD code = 0;
    if (WaitForSingleObject(child.value, static_cast<DWORD>(limit.count())) == WAIT_OBJECT_0) {
        GetExitCodeProcess(child.value, &code);
        end.how = HowEnded(code);
    } else {
        TerminateProcess(child.value, 1);
        end.how = "was still running after " + std::to_string(limit.count()) + " ms";
    }
    reader.join();
    return end;
}

}  // namespace validator
