// The host's shared, reference-counted pointer.
#pragma once

#include "Ostrum/Memory.h"

#include <cstddef>
#include <memory>
#include <utility>

namespace Ostrum {

/// A shared pointer with an atomic count. Made with makePtr(), which starts the count at 1.
template <class T>
class OSTRUM_API Ptr {
public:
    Ptr() = default;
    Ptr(std::nullptr_t) {}
    explicit Ptr(std::shared_ptr<T> shared) : shared_(std::move(shared)) {}
    template <class U>
    requires std::is_convertible_v<U*, T*> Ptr(const Ptr<U>& other) : shared_(other.shared()) {}

    T* get() const { return shared_.get(); }
    T* operator->() const { return shared_.get(); }
    T& operator*() const { return *shared_; }
    explicit operator bool() const { return shared_ != nullptr; }
    long useCount() const { return shared_.use_count(); }
    const std::shared_ptr<T>& shared() const { return shared_; }

    bool operator==(const Ptr&) const = default;
    bool operator==(std::nullptr_t) const { return shared_ == nullptr; }

private:
    std::shared_ptr<T> shared_;
};

/// A new object of `T` in the host's memory, with a reference count of 1.
template <class T, class... Arguments>
Ptr<T> makePtr(Arguments&&... arguments) {
    using Object = std::remove_const_t<T>;
    return Ptr<T>(
        std::allocate_shared<Object>(Allocator<Object>(), std::forward<Arguments>(arguments)...));
}

/// The same object seen as a `To`, or null when it is none.
template <class To, class From>
Ptr<To> dynamicPtrCast(const Ptr<From>& from) {
    return Ptr<To>(std::dynamic_pointer_cast<To>(from.shared()));
}

} // namespace Ostrum
