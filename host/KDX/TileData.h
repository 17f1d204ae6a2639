// The values of one tile: a read-only view, and a buffer that somebody fills.
#pragma once

#include "KDX/Traits.h"
#include "Ostrum/Memory.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace KDX::TileTree3D {

/// How (i, j, k) maps to a flat index, x fastest. With F = 0 the indices run over 0 .. Wd - 1, with
/// F = 1 over -1 .. Wd.
template <int Wd, int F>
struct TileDataLayout {
    static_assert(F == 0 || F == 1);
    static constexpr int kWidth = Wd + 2 * F;
    static constexpr int kValueCount = kWidth * kWidth * kWidth;
    static constexpr int flatIndex(int i, int j, int k) {
        return (i + F) + kWidth * ((j + F) + kWidth * (k + F));
    }
};

/// A read-only view of one tile's values, valid as long as the channel is. False when the tile
/// holds no data.
template <class T, int Wd, int F, int Reserved>
class OSTRUM_API ConstTileData {
public:
    using Layout = TileDataLayout<Wd, F>;

    ConstTileData() = default;
    explicit ConstTileData(const T* values) : values_(values) {}

    explicit operator bool() const { return values_ != nullptr; }
    const T& operator()(int flatIndex) const { return values_[flatIndex]; }
    const T& operator()(const int3& ijk) const {
        return values_[Layout::flatIndex(ijk.x, ijk.y, ijk.z)];
    }
    const T* data() const { return values_; }

private:
    const T* values_ = nullptr;
};

/// A buffer for one tile's values. It takes its memory on allocate(); a copy starts empty, so that
/// owners of caches can be copied cheaply.
template <class T, int Wd, int F, int Reserved>
class OSTRUM_API TileData {
public:
    using Layout = TileDataLayout<Wd, F>;

    TileData() = default;
    TileData(const TileData&) {}
    TileData& operator=(const TileData&) {
        values_ = {};
        return *this;
    }
    TileData(TileData&&) noexcept = default;
    TileData& operator=(TileData&&) noexcept = default;

    void allocate() { values_.resize(static_cast<std::size_t>(Layout::kValueCount)); }
    bool isAllocated() const { return !values_.empty(); }

    T& operator()(int i, int j, int k) { return values_[Layout::flatIndex(i, j, k)]; }
    T* data() { return values_.data(); }
    const T* data() const { return values_.data(); }

private:
    std::vector<T, Ostrum::Allocator<T>> values_;
};

} // namespace KDX::TileTree3D
