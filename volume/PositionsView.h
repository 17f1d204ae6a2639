// Positions wherever they lie in memory.
#pragma once

#include "common/Math.h"

#include <cstddef>
#include <cstring>
#include <span>

namespace KDX::TileTree3D {

/// Positions at equal distances in memory: an array of them, or one member of an array of records.
class PositionsView {
public:
    using float3 = Vantor::Math::float3;

    PositionsView(std::span<const float3> positions)
        : PositionsView(positions.data(), sizeof(float3), positions.size()) {}
    /// `stride` is the distance in bytes from each to the next.
    PositionsView(const void* first, std::size_t stride, std::size_t count)
        : first_(static_cast<const std::byte*>(first)), stride_(stride), count_(count) {}

    std::size_t size() const { return count_; }

    float3 operator[](std::size_t i) const {
        float3 position;
        std::memcpy(&position, first_ + i * stride_, sizeof position);
        return position;
    }

    /// Asks for a position that will be read soon.
    void expect(std::size_t i) const { __builtin_prefetch(first_ + i * stride_); }

    PositionsView part(std::size_t begin, std::size_t count) const {
        return {first_ + begin * stride_, stride_, count};
    }

private:
    const std::byte* first_;
    std::size_t stride_, count_;
};

} // namespace KDX::TileTree3D
