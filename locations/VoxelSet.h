// Some of a tile's voxels, and the n-th of them.
#pragma once

#include "common/Math.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace Vantor::Sample {

/// The place of each bit set in a byte, by rank.
inline constexpr auto kBitsInByte = [] {
    std::array<std::array<std::uint8_t, 8>, 256> places{};
    for (std::size_t byte = 0; byte < 256; ++byte)
        for (std::size_t bit = 0, rank = 0; bit < 8; ++bit)
            if (byte >> bit & 1U)
                places[byte][rank++] = static_cast<std::uint8_t>(bit);
    return places;
}();

/// The place of the rank-th bit set, which must be there: sums of bits up to each byte find the
/// byte (Vigna 2008, "Broadword implementation of rank/select queries"), a table the bit in it.
inline int selectBit(std::uint64_t bits, int rank) {
    constexpr std::uint64_t kOnes = 0x0101010101010101, kTops = kOnes << 7;
    std::uint64_t sums = bits - (bits >> 1 & 0x5555555555555555);
    sums = (sums & 0x3333333333333333) + (sums >> 2 & 0x3333333333333333);
    sums = ((sums + (sums >> 4)) & 0x0F0F0F0F0F0F0F0F) * kOnes;
    const std::uint64_t reached =
        (sums + (kTops - static_cast<std::uint64_t>(rank + 1) * kOnes)) & kTops;
    const int byte = std::countr_zero(reached) - 7;
    const auto before = static_cast<int>(sums << 8 >> byte & 0xFF);
    return byte + kBitsInByte[bits >> byte & 0xFF][static_cast<std::size_t>(rank - before)];
}

/// Where a tile's voxel lies in it: voxels are counted x fastest.
template <class Traits>
constexpr Math::int3 localVoxel(int voxel) {
    constexpr int W = Traits::kVoxelsPerAxis;
    return {voxel % W, voxel / W % W, voxel / (W * W)};
}

/// A subset of a tile's voxels, in the order of their values (x fastest).
template <class Traits>
class VoxelSet {
    static constexpr std::size_t kWords = (Traits::kVoxelCount + 63) / 64;

public:
    void insert(int voxel) { words_[wordOf(voxel)] |= std::uint64_t{1} << (voxel % 64); }
    bool contains(int voxel) const { return words_[wordOf(voxel)] >> (voxel % 64) & 1U; }
    bool empty() const { return words_ == std::array<std::uint64_t, kWords>{}; }

    int count() const {
        int voxels = 0;
        for (const std::uint64_t word : words_)
            voxels += std::popcount(word);
        return voxels;
    }

    /// The voxel of a rank, which must be below count().
    int select(int rank) const {
        if (isFull())
            return rank;
        std::size_t word = 0;
        for (int voxels; word + 1 < kWords && rank >= (voxels = std::popcount(words_[word]));
             ++word)
            rank -= voxels;
        return static_cast<int>(word * 64) + selectBit(words_[word], rank);
    }

private:
    bool isFull() const {
        constexpr int kLast = Traits::kVoxelCount % 64;
        std::uint64_t missing =
            kLast == 0 ? ~words_.back() : words_.back() ^ ((std::uint64_t{1} << kLast) - 1);
        for (std::size_t word = 0; word + 1 < kWords; ++word)
            missing |= ~words_[word];
        return missing == 0;
    }

    static constexpr std::size_t wordOf(int voxel) { return static_cast<std::size_t>(voxel / 64); }

    std::array<std::uint64_t, kWords> words_{};
};

} // namespace Vantor::Sample
