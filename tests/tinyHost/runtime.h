// The tiny host's runtime and diagnostics: no more than the operator library asks for.
#pragma once

#include <memory>
#include <string>
#include <vector>

#pragma GCC visibility push(default)

/// For tests: every operation of this host that may fail passes a step.
namespace Tiny {

/// Makes the n-th step from now on throw std::runtime_error("step"); none for 0.
void failAtStep(int n);
void step();

/// Counts the arrays and components that are alive. Making one is a step, copying and moving not.
struct Counted {
    static int alive();
    Counted();
    Counted(const Counted&) noexcept;
    Counted& operator=(const Counted&) noexcept = default;
    ~Counted();
};

} // namespace Tiny

namespace Ostrum {

using String = std::string;

template <class T>
using ArrayBase =
    std::conditional_t<std::is_same_v<T, bool>, std::basic_string<bool>, std::vector<T>>;

template <class T>
struct Array : ArrayBase<T>, Tiny::Counted {
    Array() = default;
    explicit Array(std::size_t count, const T& value = T()) : ArrayBase<T>(count, value) {}
};

template <class T>
using Ptr = std::shared_ptr<T>;

template <class T, class... Arguments>
Ptr<T> makePtr(Arguments&&... arguments) {
    Tiny::step();
    return std::make_shared<T>(std::forward<Arguments>(arguments)...);
}

bool isJobCancelled();

struct RuntimeServices {
    virtual ~RuntimeServices() = default;
    virtual bool isLogEnabled(int) const { return false; }
    virtual void logImpl(int, const String&) const {}
};

} // namespace Ostrum

namespace Kelvane {

inline void terminateMessage(const Ostrum::String&) {}

namespace Logger {

inline int verboseLevel() {
    return 0;
}
inline bool getEnableTestMode() {
    return false;
}
inline Ostrum::Array<Ostrum::String> retrieveProperty(const Ostrum::String&) {
    return {};
}

struct timer {
    explicit timer(const Ostrum::String&) { Tiny::step(); }
    ~timer() {} // measures nothing
};

} // namespace Logger
} // namespace Kelvane

namespace KDX {
inline const Ostrum::String exceptionMessage("cancelled");
}

#pragma GCC visibility pop
