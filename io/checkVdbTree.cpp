#include "io/checkVdbTree.h"

#include "io/byteOrder.h"

#include <array>
#include <bit>
#include <cstddef>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace Stratum::io {

namespace {

// One bit an entry of a node of 2^log2 entries an axis.
template <int log2>
class Mask {
public:
    static constexpr std::int64_t kEntries = std::int64_t{1} << 3 * log2;

    void read(std::istream& in) { in.read(bytes_.data(), bytes_.size()); }

    std::int64_t count() const {
        std::int64_t on = 0;
        for (const char byte : bytes_)
            on += std::popcount(static_cast<unsigned char>(byte));
        return on;
    }

private:
    std::array<char, static_cast<std::size_t>(kEntries / 8)> bytes_;
};

// What comes before a run of values, in the format's numbers.
enum class RunHeader : unsigned char { kOneInactive = 2, kMask, kMaskAndOne, kMaskAndTwo, kWhole };

class TreeCheck {
public:
    TreeCheck(std::istream& in, std::int64_t fileSize, const VdbTreeFormat& format)
        : in_(in), fileSize_(fileSize), format_(format) {}

    void run() {
        skip(4); // how many buffers there are
        skip(format_.valueBytes);
        const auto tiles = read<std::uint32_t>(), nodes = read<std::uint32_t>();
        skip(std::int64_t{tiles} * (12 + format_.valueBytes + 1));
        for (std::uint32_t i = 0; i < nodes; ++i) {
            const std::array origin{read<std::int32_t>(), read<std::int32_t>(),
                                    read<std::int32_t>()};
            upperNode(leaves_[origin] = {});
        }
        for (const auto& [origin, activeVoxels] : leaves_)
            for (const auto active : activeVoxels)
                leafValues(active);
    }

private:
    void upperNode(std::vector<std::uint16_t>& leaves) {
        for (auto left = internalNode<5>(); left > 0; --left)
            for (auto leavesLeft = internalNode<4>(); leavesLeft > 0; --leavesLeft) {
                leafMask_.read(in_);
                leaves.push_back(static_cast<std::uint16_t>(leafMask_.count()));
            }
    }

    // Returns the number of its children.
    template <int log2>
    std::int64_t internalNode() {
        Mask<log2> children, active;
        children.read(in_);
        active.read(in_);
        values<log2>(active.count());
        return children.count();
    }

    void leafValues(std::int64_t active) {
        leafMask_.read(in_);
        values<3>(format_.repeatsMasks ? leafMask_.count() : active);
    }

    template <int log2>
    void values(std::int64_t active) {
        const auto header = read<RunHeader>();
        const bool hasMask = header >= RunHeader::kMask && header <= RunHeader::kMaskAndTwo;
        if (header == RunHeader::kOneInactive || header == RunHeader::kMaskAndOne)
            skip(format_.valueBytes);
        if (header == RunHeader::kMaskAndTwo)
            skip(2 * format_.valueBytes);
        if (hasMask)
            skip(Mask<log2>::kEntries / 8);
        const bool omits = format_.omitsInactive && header != RunHeader::kWhole;
        const std::int64_t count = omits ? active : Mask<log2>::kEntries;
        // Of no values in half precision nothing is written, not even their size.
        if (count > 0 || format_.runBytes == format_.valueBytes)
            packedRun(count * format_.runBytes);
    }

    void packedRun(std::int64_t bytes) {
        const auto claim = read<std::int64_t>();
        if (claim <= 0) { // not compressed after all
            if (claim != -bytes)
                refuse(claim, bytes);
            skip(bytes);
            return;
        }
        if (claim > fileSize_ - in_.tellg())
            refuse(claim, bytes);
        if (format_.isBlosc)
            bloscHeader(claim, bytes);
        else
            skip(claim);
    }

    // The sizes that a compressed block claims to have after and before being expanded.
    void bloscHeader(std::int64_t claim, std::int64_t bytes) {
        constexpr std::int64_t kHeader = 16;
        if (claim < kHeader)
            refuse(claim, bytes);
        skip(4);
        const auto expanded = read<std::uint32_t>();
        skip(4);
        const auto compressed = read<std::uint32_t>();
        if (expanded != bytes || compressed > claim)
            refuse(expanded != bytes ? expanded : compressed, bytes);
        skip(claim - kHeader);
    }

    [[noreturn]] static void refuse(std::int64_t claim, std::int64_t bytes) {
        throw std::runtime_error("it is damaged: a run of " + std::to_string(bytes) +
                                 " bytes of values claims to have " + std::to_string(claim));
    }

    template <class T>
    T read() {
        std::array<char, sizeof(T)> bytes{};
        in_.read(bytes.data(), bytes.size());
        return loadAs<T>(bytes.data(), std::endian::little);
    }

    void skip(std::int64_t bytes) { in_.seekg(bytes, std::ios::cur); }

    std::istream& in_;
    std::int64_t fileSize_;
    const VdbTreeFormat& format_;
    Mask<3> leafMask_;
    // The active voxels of each leaf, by their topmost node: values come in the order of these
    // nodes' places, and of two at one place the first is dropped.
    std::map<std::array<std::int32_t, 3>, std::vector<std::uint16_t>> leaves_;
};

} // namespace

void checkVdbTree(std::istream& in, std::int64_t fileSize, const VdbTreeFormat& format) {
    TreeCheck(in, fileSize, format).run();
}

} // namespace Stratum::io
