#include "io/locationTable.h"

#include "io/LocationVertices.h"

namespace Stratum::io {

namespace {

using Vantor::Geometry::Common::GeoLocation;
using Vantor::Math::float3;
using Locations = std::span<const GeoLocation>;

// One column for each of the names, filled row by row with what `row` gives for a location.
template <class T, std::size_t kCount, class Row>
void addColumns(ColumnTable& table, const std::array<const char*, kCount>& names,
                Locations locations, const Row& row) {
    std::array<std::vector<T>, kCount> cells;
    for (auto& column : cells)
        column.reserve(locations.size());
    for (const GeoLocation& location : locations) {
        const std::array<T, kCount> numbers = row(location);
        for (std::size_t c = 0; c < kCount; ++c)
            cells[c].push_back(numbers[c]);
    }
    for (std::size_t c = 0; c < kCount; ++c)
        table.add(names[c], std::move(cells[c]));
}

template <std::size_t kCount>
void addVertices(ColumnTable& table, const std::array<const char*, kCount>& indexNames,
                 const std::array<const char*, kCount>& weightNames, Locations locations) {
    const auto first = []<class T>(const std::array<T, 4>& all) {
        std::array<T, kCount> some{};
        std::copy_n(all.begin(), kCount, some.begin());
        return some;
    };
    addColumns<std::uint32_t>(table, indexNames, locations,
                              [&](const GeoLocation& location) { return first(location.indices); });
    addColumns<float>(table, weightNames, locations,
                      [&](const GeoLocation& location) { return first(location.weights); });
}

} // namespace

ColumnTable locationTable(const Vantor::Object& geometry,
                          Vantor::Geometry::Common::LocationKind kind, Locations locations) {
    using Names3 = std::array<const char*, 3>;
    using Names2 = std::array<const char*, 2>;
    const LocationVertices vertices(geometry);
    const auto components = [](const float3& v) { return std::array{v.x, v.y, v.z}; };
    ColumnTable table;
    addColumns<float>(table, Names3{"x", "y", "z"}, locations, [&](const GeoLocation& location) {
        return components(vertices.position(location));
    });
    if (kind == Vantor::Geometry::Common::kOnFace)
        addColumns<float>(table, Names3{"nx", "ny", "nz"}, locations,
                          [&](const GeoLocation& location) {
                              return components(vertices.triangleNormal(vertices.of(location)));
                          });
    addColumns<std::uint32_t>(
        table, std::array{"element"}, locations,
        [](const GeoLocation& location) { return std::array{location.element}; });
    if (kind == Vantor::Geometry::Common::kOnFace)
        addVertices(table, Names3{"corner0", "corner1", "corner2"},
                    Names3{"weight0", "weight1", "weight2"}, locations);
    if (kind == Vantor::Geometry::Common::kOnStrand)
        addVertices(table, Names2{"point0", "point1"}, Names2{"weight0", "weight1"}, locations);
    return table;
}

} // namespace Stratum::io
