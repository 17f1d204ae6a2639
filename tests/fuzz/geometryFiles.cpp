// Files of meshes, strands, points and positions. The first byte chooses the format; the rest is
// the file.
#include "MemoryFile.h"
#include "fuzz.h"
#include "locations.h"

#include "io/readGeometry.h"
#include "io/sampleFiles.h"
#include "ops/generate_sample_locations.h"

#include <algorithm>

namespace Stratum::fuzz {

namespace {

using namespace Vantor::Geometry;
using VantorExp::Geometry::SampleType;
using Locations = Ostrum::Array<Common::GeoLocation>;
using Indices = Ostrum::Array<std::uint32_t>;

// Runs that begin at 0, ascend, and end where what they are runs of ends.
void requireRuns(const Vantor::Object& object, const Ostrum::String& name,
                 const Ostrum::String& component, std::size_t end) {
    const auto runs = object.propertyData<std::uint32_t>(name);
    if (!runs)
        return;
    require(runs->size() == object.elementCount(component) + 1 && (*runs)[0] == 0 &&
                std::is_sorted(runs->begin(), runs->end()) && (*runs)[runs->size() - 1] == end,
            "such an array of " + name.str());
}

// What everybody may rely on, whatever a file says.
void requireSound(const Ostrum::Ptr<Vantor::Object>& object) {
    const auto points = object->propertyData<Vantor::Math::float3>(sPointPosition);
    const auto corners = object->propertyData<std::uint32_t>(sFaceVertex);
    require(points && points->size() == object->elementCount(sPointComp), "points without count");
    requireRuns(*object, sFaceOffset, sFaceComp, corners ? corners->size() : 0);
    requireRuns(*object, sStrandOffset, sStrandComp, points->size());
    for (const std::uint32_t corner : corners ? *corners : Indices())
        require(corner < points->size(), "a corner that there is not");
    using namespace VantorExp::Geometry;
    for (const auto type : {SampleType::Surface, SampleType::Points}) {
        Ostrum::Ptr<Locations> locations;
        ::Geometry::Query::generate_sample_locations(
            object, type, 20, AmountType::Count, MaskControl::Discard, 7, nullptr, false, 0, false,
            "", false, locations, Ostrum::RuntimeServices(0, {}));
        for (const auto& location : *locations)
            requireOn(*object, location);
    }
}

} // namespace

bool runInput(std::string_view bytes) {
    if (bytes.empty())
        return false;
    const int format = static_cast<unsigned char>(bytes[0]) % 5;
    bytes.remove_prefix(1);
    if (format < 2)
        return accepts("the file", [&] {
            requireSound(
                (format == 0 ? io::readObj : io::readPlyGeometry)(bytes, "the file").object);
        });
    using io::SampleFormat;
    constexpr SampleFormat kFormats[] = {SampleFormat::kCsv, SampleFormat::kNpy,
                                         SampleFormat::kPly};
    const MemoryFile file(bytes);
    return accepts(file.path(), [&] {
        const auto positions = io::readPositions(file.path(), kFormats[format - 2]);
        require(positions.size() <= bytes.size(), "more positions than bytes");
    });
}

} // namespace Stratum::fuzz
