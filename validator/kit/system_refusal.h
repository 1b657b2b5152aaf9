// Makes the operating system refuse what the effect asks it for. Linux only: elsewhere an effect's own runtime
// stands between them.
#pragma once

namespace validator {

enum class Ask {
    thread,  // pthread_create, whoever calls it
    memory,  // operator new in any form, called from the effect's own code
};

// While it lives, asks of one kind are counted; the one with the number `failing`, from 1, is refused. One at a
// time.
class Refusal {
public:
    // `code` is a function of the effect's.
    Refusal(Ask ask, const void* code, int failing = 0);
    ~Refusal();
    Refusal(const Refusal&) = delete;
    Refusal& operator=(const Refusal&) = delete;

    int asked() const;
};

}  // namespace validator
