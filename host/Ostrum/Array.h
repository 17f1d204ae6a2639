// The host's contiguous array.
#pragma once

#include "Ostrum/Memory.h"

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

namespace Ostrum {

/// A contiguous array of `T`. `Array<bool>` holds one byte a flag, so that neighbouring flags can
/// be written from different threads. A size that overflows or cannot be had throws (std::bad_alloc
/// or one of its kind) and leaves the array as it was.
template <class T>
class OSTRUM_API Array {
public:
    using value_type = T;

    Array() = default;

    /// `count` value-initialised elements.
    explicit Array(std::size_t count) : Array(count, T()) {}

    /// `count` copies of `value`.
    Array(std::size_t count, const T& value) {
        Array fresh;
        fresh.data_ = Allocator<T>().allocate(count);
        fresh.capacity_ = count;
        construct(fresh.data_, count, value);
        fresh.size_ = count;
        swap(fresh);
    }

    Array(std::initializer_list<T> values) : Array(values.begin(), values.end()) {}

    template <std::forward_iterator Iterator>
    Array(Iterator first, Iterator last) {
        Array fresh;
        const auto count = static_cast<std::size_t>(std::distance(first, last));
        fresh.data_ = Allocator<T>().allocate(count);
        fresh.capacity_ = count;
        std::uninitialized_copy(first, last, fresh.data_);
        fresh.size_ = count;
        swap(fresh);
    }

    Array(const Array& other) : Array(other.begin(), other.end()) {}
    Array(Array&& other) noexcept { swap(other); }
    Array& operator=(Array other) noexcept {
        swap(other);
        return *this;
    }
    ~Array() {
        std::destroy_n(data_, size_);
        Ostrum::deallocate(data_);
    }

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    T* data() { return data_; }
    const T* data() const { return data_; }
    T& operator[](std::size_t i) { return data_[i]; }
    const T& operator[](std::size_t i) const { return data_[i]; }
    T* begin() { return data_; }
    T* end() { return data_ + size_; }
    const T* begin() const { return data_; }
    const T* end() const { return data_ + size_; }

    /// Keeps the elements up to `count`; further ones are value-initialised.
    void resize(std::size_t count) {
        if (count <= size_) {
            std::destroy(data_ + count, data_ + size_);
            size_ = count;
            return;
        }
        if (count > capacity_)
            reserve(capacity_ == 0 ? count : std::max(count, grownCapacity()));
        construct(data_ + size_, count - size_, T());
        size_ = count;
    }

    void reserve(std::size_t capacity) {
        if (capacity <= capacity_)
            return;
        Array grown;
        grown.data_ = Allocator<T>().allocate(capacity);
        grown.capacity_ = capacity;
        std::uninitialized_move(data_, data_ + size_, grown.data_);
        grown.size_ = size_;
        swap(grown);
    }

    void push_back(T value) {
        if (size_ == capacity_)
            reserve(grownCapacity());
        std::construct_at(data_ + size_, std::move(value));
        ++size_;
    }

    void swap(Array& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
    }

    bool operator==(const Array& other) const {
        return std::equal(begin(), end(), other.begin(), other.end());
    }

private:
    static void construct(T* place, std::size_t count, const T& value) {
        if constexpr (std::is_trivially_copyable_v<T>)
            Ostrum::fill(place, count, &value, sizeof(T));
        else
            std::uninitialized_fill_n(place, count, value);
    }

    std::size_t grownCapacity() const {
        return capacity_ < 8 ? 8
                             : (capacity_ > std::numeric_limits<std::size_t>::max() / 2
                                    ? std::numeric_limits<std::size_t>::max()
                                    : capacity_ * 2);
    }

    T* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

} // namespace Ostrum
