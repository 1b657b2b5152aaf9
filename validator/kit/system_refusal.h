// Makes the operating system refuse what the effect asks it for. Only on Linux, because on Windows the effect has a
// runtime of its own, which asks the system.
#pragma once

namespace validator {

enum class Ask {
    thread,  // pthread_create, whoever calls it
    memory,  // operator new in any form, called from the effect's own code
};

// Counts the requests of one kind while it lives, and refuses the request number `failing`, counted from 1. Only
// one may live at a time.
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
