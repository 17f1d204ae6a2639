#include "support/failingNew.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::uint64_t> requests{0}, failing{0}, live{0};

void* take(std::size_t bytes, std::size_t alignment) {
    if (++requests == failing)
        throw std::bad_alloc();
    void* memory = nullptr;
    if (::posix_memalign(&memory, alignment, bytes) != 0)
        throw std::bad_alloc();
    ++live;
    return memory;
}

void giveBack(void* memory) noexcept {
    live -= memory != nullptr;
    std::free(memory);
}

} // namespace

// A sanitizer has all of these, so all must be replaced; what they call is the same.
void* operator new(std::size_t n) {
    return take(n, __STDCPP_DEFAULT_NEW_ALIGNMENT__);
}
void* operator new[](std::size_t n) {
    return take(n, __STDCPP_DEFAULT_NEW_ALIGNMENT__);
}
void* operator new(std::size_t n, std::align_val_t a) {
    return take(n, static_cast<std::size_t>(a));
}
void* operator new[](std::size_t n, std::align_val_t a) {
    return take(n, static_cast<std::size_t>(a));
}
void* operator new(std::size_t n, const std::nothrow_t&) noexcept {
    try {
        return operator new(n);
    } catch (...) {
        return nullptr;
    }
}
void* operator new[](std::size_t n, const std::nothrow_t& t) noexcept {
    return operator new(n, t);
}
void operator delete(void* p) noexcept {
    giveBack(p);
}
void operator delete[](void* p) noexcept {
    giveBack(p);
}
void operator delete(void* p, std::size_t) noexcept {
    giveBack(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    giveBack(p);
}
void operator delete(void* p, std::align_val_t) noexcept {
    giveBack(p);
}
void operator delete[](void* p, std::align_val_t) noexcept {
    giveBack(p);
}
void operator delete(void* p, std::size_t, std::align_val_t) noexcept {
    giveBack(p);
}
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept {
    giveBack(p);
}

namespace StratumTest {

void failNew(std::uint64_t n) {
    failing = n == 0 ? 0 : requests + n;
}
std::uint64_t newCount() {
    return requests;
}
std::uint64_t liveNewCount() {
    return live;
}

} // namespace StratumTest
