// Values at a coarser depth from those of the next finer one.
#pragma once

#include "KDX/Traits.h"
#include "KDX/VoxelOffsetType.h"

#include "Ostrum/Export.h"

#include <bitset>
#include <cstddef>

namespace KDX::TileTree3D {

/// One tile's values as restriction sees them: W^3 values, and which of them exist (null: all).
template <class Traits, class T>
struct OSTRUM_API TileValues {
    using Present = std::bitset<static_cast<std::size_t>(Traits::kVoxelCount)>;

    const T* values = nullptr;
    const Present* present = nullptr;

    explicit operator bool() const { return values != nullptr; }
    bool has(int flatIndex) const { return values && (!present || (*present)[flatIndex]); }
};

namespace detail {

// A mean that is exact for equal finite values: the first plus the mean difference from it.
template <class T>
class Mean {
public:
    void add(const T& value) {
        const auto components = Vantor::Math::toComponents(value);
        if (count_ == 0)
            first_ = components;
        for (std::size_t c = 0; c < components.size(); ++c)
            difference_[c] += components[c] - first_[c];
        ++count_;
    }
    int count() const { return count_; }
    T value() const {
        auto result = first_;
        for (std::size_t c = 0; c < result.size(); ++c)
            result[c] += difference_[c] / static_cast<Vantor::Math::ScalarOf<T>>(count_);
        return Vantor::Math::fromComponents<T>(result);
    }

private:
    Vantor::Math::Components<T> first_{}, difference_{};
    int count_ = 0;
};

} // namespace detail

/// The values of a tile from those of its children, so that a field linear in space stays linear:
/// on each axis the mean of the B children where a sample lies in the middle of its voxel, the
/// coinciding child where it lies on the voxel's corner. Children that do not exist are left out of
/// the mean; a voxel none of whose children exists gets `absent` and is not marked present.
///
/// `childAt(cell)` gives the TileValues of the child that covers a cell of the tile.
template <class Traits, class T, class ChildAt>
void restrictTile(VoxelOffsetType type, const T& absent, const ChildAt& childAt, T* values,
                  typename TileValues<Traits, T>::Present& present) {
    constexpr int B = Traits::kChildrenPerAxis, W = Traits::kVoxelsPerAxis;
    const int bits = static_cast<int>(type);
    const int3 span{(bits & 1) ? 1 : B, (bits & 2) ? 1 : B, (bits & 4) ? 1 : B};
    for (int k = 0; k < W; ++k)
        for (int j = 0; j < W; ++j)
            for (int i = 0; i < W; ++i) {
                const int3 cell{B * i / W, B * j / W, B * k / W};
                const int3 first{B * i - W * cell.x, B * j - W * cell.y, B * k - W * cell.z};
                const TileValues<Traits, T> child = childAt(cell);
                detail::Mean<T> mean;
                for (int z = first.z; z < first.z + span.z; ++z)
                    for (int y = first.y; y < first.y + span.y; ++y)
                        for (int x = first.x; x < first.x + span.x; ++x)
                            if (const int flat = x + W * (y + W * z); child.has(flat))
                                mean.add(child.values[flat]);
                const int flat = i + W * (j + W * k);
                values[flat] = mean.count() > 0 ? mean.value() : absent;
                present[flat] = mean.count() > 0;
            }
}

} // namespace KDX::TileTree3D
