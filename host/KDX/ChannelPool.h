// Recycling the memory of channels that live for one operator call.
#pragma once

#include "KDX/Object.h"
#include "Ostrum/Export.h"
#include "Ostrum/Ptr.h"

#include <cstddef>
#include <utility>

namespace KDX::TileTree3D {

template <class Traits, class T, int Wd, int Hf, int Reserved>
class Channel;

/// Keeps blocks that channels gave back, up to a limit, so that the next channel of the same size
/// need not take (and have the system clear) fresh memory; the oldest make room for newer ones.
/// Safe from every thread.
class OSTRUM_API ChannelMemoryPool {
public:
    /// Whether new channels should take their memory here. On at the start.
    static bool enabled();
    static void setEnabled(bool enable);

    /// At most this much is kept while unused, 512 MiB at the start; setting it drops what exceeds
    /// it.
    static void setRetainedLimit(std::size_t bytes);
    /// Bytes kept, unused, right now.
    static std::size_t retained();
    /// Gives all unused blocks back to the system.
    static void trim() { setRetainedLimit(retainedLimit(), true); }

    static void* allocate(std::size_t bytes);
    static void deallocate(void* memory, std::size_t bytes) noexcept;

private:
    static std::size_t retainedLimit();
    static void setRetainedLimit(std::size_t bytes, bool dropAll);
};

/// Where operators get channels of a volume's layout, ready made, when it is enabled.
class OSTRUM_API ChannelPool {
public:
    /// On at the start.
    static bool enabled();
    static void setEnabled(bool enable);

    /// A new, empty channel of data width Wd on the tree of `layout` (the volume's VoxelTopology;
    /// throws std::invalid_argument for anything else). Its tiles take memory when update() or
    /// computeHalo() fills them. The other arguments are those of Channel's constructor; `reserved`
    /// has no effect.
    template <class Traits, class T, int Wd, int Hf>
    static Ostrum::Ptr<Channel<Traits, T, Wd, Hf, 0>>
    allocate(const T& defaultValue, bool callElementConstructor, bool pooledMemory,
             int coarsestDepth, int finestDepth, std::size_t reserved, const Component* layout);
};

/// Memory for the values of one depth of a channel.
class OSTRUM_API ChannelMemory {
public:
    ChannelMemory() = default;
    ChannelMemory(std::size_t bytes, bool pooled);
    ~ChannelMemory();
    ChannelMemory(ChannelMemory&& other) noexcept { swap(other); }
    ChannelMemory& operator=(ChannelMemory&& other) noexcept {
        swap(other);
        return *this;
    }

    void* get() const { return memory_; }
    std::size_t size() const { return bytes_; }

private:
    void swap(ChannelMemory& other) noexcept {
        std::swap(memory_, other.memory_);
        std::swap(bytes_, other.bytes_);
        std::swap(pooled_, other.pooled_);
    }

    void* memory_ = nullptr;
    std::size_t bytes_ = 0;
    bool pooled_ = false;
};

} // namespace KDX::TileTree3D
