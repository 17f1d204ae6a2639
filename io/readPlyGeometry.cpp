#include "Vantor/Geometry.h"
#include "io/plyColumns.h"
#include "io/readGeometry.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace Stratum::io {

namespace {

using Vantor::Math::float3;

constexpr std::array<const char*, 3> kAxes{"x", "y", "z"};
constexpr std::array<const char*, 2> kCornerLists{"vertex_indices", "vertex_index"};
// Indices and the sums of list lengths are 32-bit numbers, and the highest marks no index.
constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max() - 1;

bool isAxis(const std::string& name) {
    return std::ranges::find(kAxes, name) != kAxes.end();
}

const PlyElement* elementNamed(const PlyHeader& header, const std::string& name) {
    const auto found = std::ranges::find(header.elements, name, &PlyElement::name);
    return found == header.elements.end() ? nullptr : &*found;
}

class Reader {
public:
    Reader(std::string_view bytes, const std::string& source)
        : source_(source), header_(readPlyHeader(bytes, source)),
          vertex_(elementNamed(header_, "vertex")), face_(elementNamed(header_, "face")) {
        checkHeader();
        columns_ = readPlyColumns(bytes, source, header_,
                                  [&](const PlyElement& element, const PlyProperty& property) {
                                      return isWanted(element, property);
                                  });
    }

    LoadedGeometry read() {
        LoadedGeometry geometry{Ostrum::makePtr<Vantor::Object>(), {}, {}};
        // First, so that none can take the place of the host's own.
        if (hasFaces())
            addProperties(geometry, *face_, Vantor::Geometry::sFaceComp);
        addProperties(geometry, *vertex_, Vantor::Geometry::sPointComp);
        GeometryArrays arrays;
        arrays.positions = readPositions();
        if (hasFaces())
            readFaces(arrays);
        addArrays(*geometry.object, std::move(arrays));
        return geometry;
    }

private:
    [[noreturn]] void fail(const std::string& what) const {
        throw std::runtime_error(source_ + ": " + what);
    }

    void checkHeader() {
        if (!vertex_)
            fail("it has no element 'vertex'");
        for (const char* axis : kAxes) {
            const auto found = std::ranges::find(vertex_->properties, axis, &PlyProperty::name);
            if (found == vertex_->properties.end() || found->isList)
                fail("its vertices have no number '" + std::string(axis) + "'");
        }
        if (vertex_->count > kMost || (face_ && face_->count > kMost))
            fail("it has more elements than can be counted");
        if (!face_ || face_->count == 0)
            return;
        for (const char* name : kCornerLists) {
            const auto found = std::ranges::find(face_->properties, name, &PlyProperty::name);
            if (found != face_->properties.end() && found->isList && isInteger(found->type))
                corners_ = name;
        }
        if (corners_.empty())
            fail("its faces have no list 'vertex_indices' of whole numbers");
    }

    bool hasFaces() const { return !corners_.empty(); }

    bool isWanted(const PlyElement& element, const PlyProperty& property) const {
        if (&element == vertex_)
            return !property.isList;
        return hasFaces() && &element == face_ && (!property.isList || property.name == corners_);
    }

    const std::vector<double>& numbers(const PlyElement& element, const std::string& name) {
        return columns_[{element.name, name}].numbers;
    }

    Ostrum::Array<float3> readPositions() {
        std::array<const double*, 3> axes{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            axes[axis] = numbers(*vertex_, kAxes[axis]).data();
        Ostrum::Array<float3> positions;
        positions.reserve(vertex_->count);
        for (std::size_t i = 0; i < vertex_->count; ++i) {
            const auto coordinate = [&](std::size_t axis) {
                const double value = axes[axis][i];
                if (std::isfinite(value) && std::abs(value) > std::numeric_limits<float>::max())
                    fail("vertex " + std::to_string(i) + " is beyond single precision");
                return static_cast<float>(value);
            };
            positions.push_back({coordinate(0), coordinate(1), coordinate(2)});
        }
        return positions;
    }

    void readFaces(GeometryArrays& arrays) {
        const PlyColumn& column = columns_[{face_->name, corners_}];
        if (column.numbers.size() > kMost)
            fail("it has more corners than can be counted");
        arrays.faceOffset.reserve(column.lengths.size() + 1);
        arrays.faceVertex.reserve(column.numbers.size());
        std::uint32_t end = 0;
        arrays.faceOffset.push_back(end);
        for (const std::uint32_t length : column.lengths) {
            for (std::uint32_t i = 0; i < length; ++i) {
                const double index = column.numbers[end + i];
                if (!(index >= 0 && index < static_cast<double>(vertex_->count)))
                    fail("face " + std::to_string(arrays.faceOffset.size() - 1) + ": there is no " +
                         "vertex " + std::to_string(static_cast<std::int64_t>(index)) +
                         "; there are " + std::to_string(vertex_->count) + ", from 0");
                arrays.faceVertex.push_back(static_cast<std::uint32_t>(index));
            }
            arrays.faceOffset.push_back(end += length);
        }
    }

    void addProperties(LoadedGeometry& geometry, const PlyElement& element,
                       const Ostrum::String& component) {
        for (const PlyProperty& property : element.properties) {
            if (property.isList || (&element == vertex_ && isAxis(property.name)))
                continue;
            const bool taken =
                &element == face_ &&
                std::ranges::count(vertex_->properties, property.name, &PlyProperty::name) > 0;
            const std::string name = taken ? "face:" + property.name : property.name;
            const auto& values = numbers(element, property.name);
            geometry.properties.push_back(name);
            if (sizeOf(property.type) < 4 || property.type == PlyType::kFloat)
                addAs<float>(*geometry.object, name, component, values);
            else
                addAs<double>(*geometry.object, name, component, values);
        }
    }

    template <class T>
    static void addAs(Vantor::Object& object, const std::string& name,
                      const Ostrum::String& component, const std::vector<double>& values) {
        auto array = Ostrum::makePtr<Ostrum::Array<T>>(values.size(), T());
        std::ranges::transform(values, array->begin(), [](double v) { return static_cast<T>(v); });
        object.setProperty(name, component, array);
    }

    const std::string& source_;
    const PlyHeader header_;
    const PlyElement *const vertex_, *const face_;
    std::string corners_; ///< the list of a face's corners, empty without faces
    PlyColumns columns_;
};

} // namespace

LoadedGeometry readPlyGeometry(std::string_view bytes, const std::string& source) {
    return Reader(bytes, source).read();
}

} // namespace Stratum::io
