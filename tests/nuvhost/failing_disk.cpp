// A library that a test preloads into nuvhost. It plays a full disk that reports its error only when a temporary
// file is closed or synced, as FAILING_CALL says.
#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

bool Fails(const char* call, int descriptor) {
    const char* const failing = std::getenv("FAILING_CALL");
    if (failing == nullptr || std::strcmp(failing, call) != 0) return false;
    char name[4096] = {};
    const auto link = "/proc/self/fd/" + std::to_string(descriptor);
    return ::readlink(link.c_str(), name, sizeof name - 1) > 0 && std::strstr(name, "/.nuvhost.") != nullptr;
}

template <typename Function>
Function* Real(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" int fclose(FILE* file) {
    const bool fails = Fails("fclose", ::fileno(file));
    const int result = Real<int(FILE*)>("fclose")(file);
    if (!fails) return result;
    errno = ENOSPC;
    return EOF;
}

extern "C" int fsync(int descriptor) {
    if (!Fails("fsync", descriptor)) return Real<int(int)>("fsync")(descriptor);
    errno = ENOSPC;
    return -1;
}
