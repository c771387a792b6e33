// The interpreter's lock, given away and taken.
//
// An interpreter that ends lets no other thread have its lock: CPython 3.11 ends such a thread
// where it asks, which unwinds the stack, and a destructor on the way would end the process. Here
// the thread stays where it is instead, until the process is gone.
#pragma once

#include <cxxabi.h>
#include <pybind11/pybind11.h>
#include <unistd.h>

#include <optional>

namespace zelk::python {

template <class Take>
void takeLock(Take const& take) {
    try {
        take();
    } catch (abi::__forced_unwind&) {
        for (;;) ::pause();
    }
}

/// Other threads of Python run while it lives.
class Unlocked {
public:
    Unlocked() : m_state(PyEval_SaveThread()) {}
    ~Unlocked() {
        takeLock([this] { PyEval_RestoreThread(m_state); });
    }
    Unlocked(Unlocked const&) = delete;
    Unlocked& operator=(Unlocked const&) = delete;

private:
    PyThreadState* m_state;
};

/// Objects of Python may be touched while it lives, on whatever thread.
class Locked {
public:
    Locked() {
        takeLock([this] { m_lock.emplace(); });
    }
    Locked(Locked const&) = delete;
    Locked& operator=(Locked const&) = delete;

private:
    std::optional<pybind11::gil_scoped_acquire> m_lock;
};

}  // namespace zelk::python
