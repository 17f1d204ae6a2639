#include "volume/VisitOrder.h"

#include "common/parallel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <new>
#include <numeric>

namespace KDX::TileTree3D {

namespace {

using Vantor::Math::float3;

// The curve is the Z-order one (Morton 1966) through the positions' bounding box.
constexpr int kBitsPerAxis = 7;
constexpr std::uint32_t kCells = 1U << kBitsPerAxis;

// The bits of a cell's number, two zeros before each.
constexpr std::array<std::uint32_t, kCells> kSpread = [] {
    std::array<std::uint32_t, kCells> spread{};
    for (std::uint32_t cell = 0; cell < kCells; ++cell)
        for (int bit = 0; bit < kBitsPerAxis; ++bit)
            spread[cell] |= (cell >> bit & 1U) << (3 * bit);
    return spread;
}();

// An axis of the bounding box, cut into cells.
class Axis {
public:
    void extend(float v) {
        lower_ = std::min(lower_, v);
        upper_ = std::max(upper_, v);
    }
    void cut() { scale_ = static_cast<float>(kCells) / (upper_ - lower_); }

    // The bits of the cell that holds v; the first one's where v is no number or the box has no
    // finite extent.
    std::uint32_t bits(float v) const {
        const float cell = std::max(0.0F, (v - lower_) * scale_);
        return kSpread[static_cast<std::uint32_t>(std::min(cell, float{kCells - 1}))];
    }

private:
    float lower_ = std::numeric_limits<float>::infinity(), upper_ = -lower_, scale_ = 0;
};

// What a block is sorted by, and the index in it, in the upper and the lower half.
using Entry = std::uint64_t;

std::vector<Entry> makeEntries(const PositionsView& positions) {
    Axis x, y, z;
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const float3 p = positions[i];
        x.extend(p.x);
        y.extend(p.y);
        z.extend(p.z);
    }
    x.cut();
    y.cut();
    z.cut();
    std::vector<Entry> entries(positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const float3 p = positions[i];
        const Entry key = x.bits(p.x) | y.bits(p.y) << 1 | z.bits(p.z) << 2;
        entries[i] = key << 32 | i;
    }
    return entries;
}

// Sorts by radix, in two passes.
void sortEntries(const std::vector<Entry>& entries, std::uint32_t* order) {
    constexpr int kLowBits = 11, kHighBits = 3 * kBitsPerAxis - kLowBits;
    const auto low = [](Entry entry) { return entry >> 32 & ((1U << kLowBits) - 1U); };
    const auto high = [](Entry entry) { return entry >> (32 + kLowBits); };
    std::array<std::uint32_t, 1U << kLowBits> lowBegins{};
    std::array<std::uint32_t, 1U << kHighBits> highBegins{};
    for (const Entry entry : entries) {
        ++lowBegins[low(entry)];
        ++highBegins[high(entry)];
    }
    std::exclusive_scan(lowBegins.begin(), lowBegins.end(), lowBegins.begin(), 0U);
    std::exclusive_scan(highBegins.begin(), highBegins.end(), highBegins.begin(), 0U);
    std::vector<Entry> half(entries.size());
    for (const Entry entry : entries)
        half[lowBegins[low(entry)]++] = entry;
    for (const Entry entry : half)
        order[highBegins[high(entry)]++] = static_cast<std::uint32_t>(entry);
}

// Whether most of some pairs of successive positions lie further apart.
bool areScattered(const PositionsView& positions, float nearby) {
    constexpr std::size_t kPairs = 64;
    const std::size_t stride = positions.size() / kPairs;
    std::size_t far = 0;
    for (std::size_t pair = 0; pair < kPairs; ++pair) {
        const float3 a = positions[pair * stride], b = positions[pair * stride + 1];
        far += std::abs(a.x - b.x) > nearby || std::abs(a.y - b.y) > nearby ||
               std::abs(a.z - b.z) > nearby;
    }
    return far > kPairs / 2;
}

} // namespace

VisitOrder::VisitOrder(const PositionsView& positions, float nearby) {
    constexpr std::size_t kFewest = std::size_t{1} << 15;
    if (positions.size() < kFewest || !areScattered(positions, nearby))
        return;
    try {
        order_.resize(positions.size());
        const std::size_t blocks = (positions.size() + kBlock - 1) / kBlock;
        Stratum::parallelForIsolated(blocks, 1, [&](const Stratum::IndexRange& range) {
            for (std::size_t block = range.begin(); block < range.end(); ++block) {
                const std::size_t begin = block * kBlock;
                const auto part = positions.part(begin, std::min(kBlock, positions.size() - begin));
                sortEntries(makeEntries(part), order_.data() + begin);
            }
        });
    } catch (const std::bad_alloc&) {
        order_ = {};
    }
}

} // namespace KDX::TileTree3D
