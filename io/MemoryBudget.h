// How much memory may be taken for what a file claims.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <tuple>

namespace Stratum::io {

/// Adds up the bytes that something is going to take, from many threads. Each thread counts by
/// itself, since a number that all of them write is slow, and announces whole megabytes.
class MemoryBudget {
public:
    explicit MemoryBudget(double mostBytes) : most_(mostBytes) {}

    void add(std::size_t bytes) {
        auto& unannounced = shares_[shareOfThread()].bytes;
        if (unannounced.fetch_add(bytes, std::memory_order_relaxed) + bytes >= kAnnounced)
            announced_.fetch_add(unannounced.exchange(0, std::memory_order_relaxed),
                                 std::memory_order_relaxed);
    }

    /// Whether what was announced is too much already.
    bool isExceeded() const {
        return static_cast<double>(announced_.load(std::memory_order_relaxed)) > most_;
    }

    /// Throws std::runtime_error when it is exceeded. Not while others add to it.
    void check() {
        for (Share& share : shares_)
            announced_ += share.bytes.exchange(0);
        if (isExceeded())
            throw std::runtime_error("its voxels would take more than the " +
                                     std::to_string(static_cast<std::uint64_t>(most_ / 1e6)) +
                                     " MB of memory there are for them");
    }

private:
    static constexpr std::uint64_t kAnnounced = 1U << 20;

    struct alignas(64) Share {
        std::atomic<std::uint64_t> bytes = 0;
    };
    using Shares = std::array<Share, 16>; // several threads may have one

    static std::size_t shareOfThread() {
        static std::atomic<std::size_t> threads{0};
        thread_local const std::size_t share = threads++ % std::tuple_size_v<Shares>;
        return share;
    }

    const double most_;
    std::atomic<std::uint64_t> announced_ = 0;
    Shares shares_;
};

} // namespace Stratum::io
