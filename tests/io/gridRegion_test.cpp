// What boxes of a grid hold, against a look at every voxel, on nodes so small that boxes of all
// kinds fit.
#include "io/gridRegion.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

namespace {

using namespace Stratum::io;

struct Leaf {
    std::array<float, 8> voxels{};
};

template <class Child, int Log2>
struct Node {
    static constexpr unsigned kCount = 1U << 3 * Log2;
    std::array<std::unique_ptr<Child>, kCount> children;
    std::array<float, kCount> values{};
};
using Lower = Node<Leaf, 1>;
using Upper = Node<Lower, 2>;

struct SmallAccess {
    using Value = float;
    using Leaf = ::Leaf;
    using Lower = ::Lower;
    using Upper = ::Upper;
    static constexpr int kLeafLog2 = 1, kLowerLog2 = 1, kUpperLog2 = 2;

    template <class N>
    static bool isChild(const N& node, unsigned n) {
        return node.children[n] != nullptr;
    }
    template <class N>
    static const auto* child(const N& node, unsigned n) {
        return node.children[n].get();
    }
    template <class N>
    static float value(const N& node, unsigned n) {
        return node.values[n];
    }
    static const float* voxels(const Leaf& leaf) { return leaf.voxels.data(); }
};
using Region = GridRegion<SmallAccess>;

// Few values, so that boxes of one value are frequent; 0 is the background, or nearly: its bits
// differ from those of -0.
class Maker {
public:
    explicit Maker(unsigned seed) : random_(seed) {}

    Region region(std::vector<std::unique_ptr<Upper>>& owner) {
        Region::Cells cells;
        for (const int x : {-16, 0, 16})
            for (const int y : {-16, 0}) {
                if (below(4) == 0)
                    continue;
                auto& cell = cells[{x, y, 0}];
                cell.value = value();
                if (below(4) != 0)
                    cell.node = owner.emplace_back(node<Upper>(2)).get();
            }
        return {std::move(cells), 0};
    }
    unsigned below(unsigned n) { return static_cast<unsigned>(random_() % n); }

private:
    float value() {
        constexpr std::array<float, 8> kValues{0, 0, 0, 0, 0, 1, 2, -0.0F};
        return kValues[below(kValues.size())];
    }
    // Mostly of one value, but one in so many entries is a node below.
    template <class N>
    std::unique_ptr<N> node(unsigned oneIn) {
        auto made = std::make_unique<N>();
        const float usual = value();
        if constexpr (std::is_same_v<N, Leaf>) {
            made->voxels.fill(usual);
            made->voxels[below(8)] = below(3) == 0 ? value() : usual;
        } else {
            using Child = typename decltype(made->children)::value_type::element_type;
            for (unsigned n = 0; n < N::kCount; ++n)
                if (below(oneIn) == 0)
                    made->children[n] = node<Child>(8);
                else
                    made->values[n] = below(4) == 0 && oneIn == 2 ? value() : usual;
        }
        return made;
    }

    std::mt19937 random_;
};

Content slowContent(const Region& region, const GridBox& box) {
    Region::Reader reader(region);
    Finding<float> finding;
    for (int x = box.min[0]; x <= box.max[0]; ++x)
        for (int y = box.min[1]; y <= box.max[1]; ++y)
            for (int z = box.min[2]; z <= box.max[2]; ++z)
                finding.add(reader.value({x, y, z}));
    return finding.mixed                                ? Content::kMixed
           : isSame(finding.first, region.background()) ? Content::kBackground
                                                        : Content::kConstant;
}

TEST(GridRegion, BoxesHoldWhatTheirVoxelsSay) {
    std::array<int, 3> seen{};
    for (unsigned seed = 0; seed < 60; ++seed) {
        Maker maker(seed);
        std::vector<std::unique_ptr<Upper>> owner;
        const Region region = maker.region(owner);
        for (int i = 0; i < 400; ++i) {
            GridBox box{};
            const unsigned longest = 1U << maker.below(6);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                box.min[axis] = static_cast<int>(maker.below(48)) - (axis == 2 ? 10 : 20);
                box.max[axis] = box.min[axis] + static_cast<int>(maker.below(longest));
            }
            const Content content = region.content(box);
            ++seen[static_cast<std::size_t>(content)];
            ASSERT_EQ(content, slowContent(region, box))
                << "seed " << seed << ", box from " << box.min[0] << ' ' << box.min[1] << ' '
                << box.min[2] << " to " << box.max[0] << ' ' << box.max[1] << ' ' << box.max[2];
        }
    }
    for (const int count : seen)
        EXPECT_GT(count, 400);
}

// Where `int` ends nothing may count beyond it.
TEST(GridRegion, ReachesTheLastIndex) {
    constexpr int kLast = std::numeric_limits<int>::max();
    auto upper = std::make_unique<Upper>();
    auto& lower = upper->children.back();
    lower = std::make_unique<Lower>();
    lower->children.back() = std::make_unique<Leaf>();
    lower->children.back()->voxels.back() = 5;
    Region::Cells cells;
    cells[{kLast - 15, kLast - 15, kLast - 15}].node = upper.get();
    const Region region(std::move(cells), 0);
    const auto from = [&](int first) {
        return region.content({{first, first, first}, {kLast, kLast, kLast}});
    };
    EXPECT_EQ(from(kLast), Content::kConstant);
    for (const int edge : {2, 3, 6, 16})
        EXPECT_EQ(from(kLast - edge + 1), Content::kMixed) << edge;
    Region::Reader reader(region);
    int parts = 0;
    reader.forEachPart({{kLast - 2, kLast, kLast}, {kLast, kLast, kLast}},
                       [&](const GridBox&, const auto&) { ++parts; });
    EXPECT_EQ(parts, 2);
}

} // namespace
