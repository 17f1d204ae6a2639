// Picking triangles in proportion to their areas.
#pragma once

#include "locations/CumulativeTable.h"
#include "locations/geometryViews.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

namespace Vantor::Sample {

/// Gives the picks of std::discrete_distribution over the areas, drawn with std::mt19937, as the
/// GNU library makes them: it takes two numbers of the twister for a pick, none where there is but
/// one triangle. A table makes each pick cost the same however many triangles there are, and picks
/// are drawn some ahead, so that they wait for memory together.
class TrianglePicker {
public:
    struct Triangle {
        std::uint32_t face, t;
    };

    /// `areas` are those of the mesh's triangles, as triangleAreas() gives them, with a positive
    /// and finite sum.
    TrianglePicker(const MeshView& mesh, std::span<const float> areas, std::uint32_t seed);
    TrianglePicker(const TrianglePicker&) = delete;
    TrianglePicker& operator=(const TrianglePicker&) = delete;

    Triangle pick() {
        if (next_ == ahead_.size())
            drawAhead();
        return ahead_[next_++];
    }

private:
    struct Entry {
        double sum;
        Triangle triangle;
    };

    void drawAhead();

    std::vector<Entry> entries_;
    CumulativeTable<Entry> table_;
    std::mt19937 twister_;
    std::array<Triangle, 16> ahead_{}; // as many lines as a processor fetches at a time
    std::size_t next_ = ahead_.size();
};

} // namespace Vantor::Sample
