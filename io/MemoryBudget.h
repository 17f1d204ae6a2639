// How much memory may be taken for what a file claims.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace Stratum::io {

/// Adds up the bytes that something is going to take, from many threads.
class MemoryBudget {
public:
    explicit MemoryBudget(double mostBytes) : most_(mostBytes) {}

    void add(std::size_t bytes) { bytes_.fetch_add(bytes, std::memory_order_relaxed); }

    bool isExceeded() const {
        return static_cast<double>(bytes_.load(std::memory_order_relaxed)) > most_;
    }

    /// Throws std::runtime_error when it is exceeded.
    void check() const {
        if (isExceeded())
            throw std::runtime_error("its voxels would take more than the " +
                                     std::to_string(static_cast<std::uint64_t>(most_ / 1e6)) +
                                     " MB of memory there are for them");
    }

private:
    const double most_;
    std::atomic<std::uint64_t> bytes_ = 0;
};

} // namespace Stratum::io
