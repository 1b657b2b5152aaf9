// Makes the operating system refuse requests of the effect. This works on Linux only: on Windows the effect
// contains its own runtime library, whose requests cannot be intercepted here.
#pragma once

namespace validator {

enum class Ask {
    thread,  // pthread_create, whoever calls it
    memory,  // operator new in any form, called from the effect's own code
};

// While an object of this class exists, it counts the requests of one kind and refuses the request number
// `failing`, counted from 1. If `failing` is 0, it refuses none. Only one object may exist at a time.
class Refusal {
public:
    // `code` is any function of the effect.
    Refusal(Ask ask, const void* code, int failing = 0);
    ~Refusal();
    Refusal(const Refusal&) = delete;
    Refusal& operator=(const Refusal&) = delete;

    int asked() const;
};

}  // namespace validator
