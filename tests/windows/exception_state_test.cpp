// Exceptions work as usual while an ExceptionState holds the C++ runtime's notes about them.
#include <gtest/gtest.h>

#include <exception>
#include <thread>

#include "entry/exception_state.h"

namespace {

using nuv::ExceptionState;

class Exceptions : public testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(nuv::AttachExceptionState()); }
    static void TearDownTestSuite() { nuv::DetachExceptionState(); }

    void TearDown() override { ExpectNoneOnItsWay(); }

    static void ExpectNoneOnItsWay() {
        EXPECT_EQ(std::uncaught_exceptions(), 0);
        EXPECT_EQ(std::current_exception(), nullptr);
    }

    // A command that throws an exception and catches it, as any command may.
    static void ThrowAndCatch() {
        ExceptionState command;
        ExpectNoneOnItsWay();
        EXPECT_THROW(throw 2, int);
        ExpectNoneOnItsWay();
    }
};

TEST_F(Exceptions, CanBeThrownInAHandlerAndRethrown) {
    ExceptionState command;
    int caught = 0;
    try {
        try {
            throw 1;
        } catch (int) {
            EXPECT_THROW(throw 2, int);
            throw;
        }
    } catch (int value) {
        caught = value;
    }
    EXPECT_EQ(caught, 1);
    ExpectNoneOnItsWay();
}

TEST_F(Exceptions, AreCountedUntilTheyAreCaught) {
    ExceptionState command;
    struct Count {
        int& onTheirWay;
        ~Count() { onTheirWay = std::uncaught_exceptions(); }
    };
    // Throws a second exception while the first is on its way to its handler.
    struct Nested {
        int& onTheirWay;
        ~Nested() {
            try {
                const Count count{onTheirWay};
                throw 2;
            } catch (int) {
                EXPECT_EQ(std::uncaught_exceptions(), 1);
            }
        }
    };
    int one = 0, two = 0;
    try {
        const Count count{one};
        const Nested nested{two};
        throw 1;
    } catch (int) {
        EXPECT_EQ(one, 1);
        EXPECT_EQ(two, 2);
    }
}

TEST_F(Exceptions, DoNotDisturbCommandsThatAHostSendsInBetween) {
    struct HostCalledBack {
        ~HostCalledBack() {
            ThrowAndCatch();
            EXPECT_EQ(std::uncaught_exceptions(), 1);
        }
    };
    ExceptionState command;
    int caught = 0;
    try {
        try {
            const HostCalledBack whileUnwinding;
            throw 1;
        } catch (int) {
            ThrowAndCatch();
            throw;
        }
    } catch (int value) {
        caught = value;
    }
    EXPECT_EQ(caught, 1);
}

TEST_F(Exceptions, CanBeCarriedToAnotherThread) {
    ExceptionState command;
    std::exception_ptr carried;
    try {
        throw 1;
    } catch (int) {
        carried = std::current_exception();
        std::thread([&] {
            ExceptionState other;
            ExpectNoneOnItsWay();
            EXPECT_THROW(std::rethrow_exception(carried), int);
            ExpectNoneOnItsWay();
        }).join();
        EXPECT_EQ(std::current_exception(), carried);
    }
    EXPECT_THROW(std::rethrow_exception(carried), int);
}

}  // namespace
