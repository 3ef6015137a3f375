#pragma once

// Interpreter lock: letting go of it and taking it, in threads that the interpreter may end.
//
// A daemon thread that wants the lock after the interpreter has begun to end never gets it. Up to
// Python 3.13 the thread is ended instead, by an unwinding of its stack that no frame of C++ may
// stop and none that throws nothing lets pass: the whole process would be aborted. So the thread
// waits here for the end of the process, as it does in Python 3.14.
//
// Ownership: each holds a state of the thread that makes it. Threads: any.

#include <atomic>
#include <optional>

#include <cxxabi.h>
#include <unistd.h>

#include <nanobind/nanobind.h>

namespace ifdsweep::python {

namespace nb = nanobind;

/// Calls what takes the interpreter's lock, or may let go of it for a while. The call itself owns
/// no object of Python's: it would let go of it without the lock when the thread is ended.
template <class Call>
auto staying(Call&& call) {
    try {
        return call();
    } catch (const abi::__forced_unwind&) {
        while (true) {
            ::pause();
        }
    }
}

/// Has let go of the lock while it lives.
class LockReleased {
public:
    LockReleased() noexcept : state(PyEval_SaveThread()) {}
    ~LockReleased() {
        staying([this] { PyEval_RestoreThread(state); });
    }
    LockReleased(const LockReleased&) = delete;
    LockReleased& operator=(const LockReleased&) = delete;

private:
    PyThreadState* state;
};

/// Has the lock while it lives.
class LockTaken {
public:
    LockTaken() : state(staying([] { return PyGILState_Ensure(); })) {}
    ~LockTaken() { PyGILState_Release(state); }
    LockTaken(const LockTaken&) = delete;
    LockTaken& operator=(const LockTaken&) = delete;

private:
    PyGILState_STATE state;
};

/// Whether this thread runs code of Python's, somewhere below; it may have the lock or not. A
/// thread of a library's own need never ask for the lock.
[[nodiscard]] inline bool isPythonThread() noexcept {
    return PyGILState_GetThisThreadState() != nullptr;
}

/// Has let go of the lock while it lives, if this thread had it.
class LockLeft {
public:
    LockLeft() {
        if (isPythonThread()) {
            taken.emplace();
            released.emplace();
        }
    }

private:
    std::optional<LockTaken> taken;
    std::optional<LockReleased> released;  ///< goes first
};

/// Has Python do what signals ask for, such as Ctrl-C, where it may. Throws what that raises.
inline void checkSignals() {
    if (!isPythonThread()) {
        return;
    }
    const LockTaken lock;
    if (staying([] { return PyErr_CheckSignals(); }) != 0) {
        throw nb::python_error();
    }
}

/// Whether the interpreter goes on: until the end of the program has begun.
class Interpreter {
public:
    void end() noexcept { isRunning = false; }
    [[nodiscard]] bool runs() const noexcept { return isRunning; }

private:
    std::atomic<bool> isRunning{true};
};

}  // namespace ifdsweep::python
