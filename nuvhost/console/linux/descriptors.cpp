#include "console/descriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <initializer_list>

namespace nuvhost {
namespace {

// Returns -1 if it is closed.
int Access(int descriptor) {
    const int flags = ::fcntl(descriptor, F_GETFL);
    return flags < 0 ? -1 : flags & O_ACCMODE;
}

}  // namespace

void HoldStandardDescriptors() {
    // open() gives the lowest number that is free.
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (Access(descriptor) < 0) ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

bool Readable(int descriptor) {
    return Access(descriptor) == O_RDONLY || Access(descriptor) == O_RDWR;
}

bool Writable(int descriptor) {
    return Access(descriptor) == O_WRONLY || Access(descriptor) == O_RDWR;
}

}  // namespace nuvhost
