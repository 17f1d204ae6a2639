#include "ScatterCall.h"

#include "Kelvane/Logger.h"
#include "Vantor/Geometry.h"
#include "common/foldSeed.h"
#include "io/Cancelled.h"
#include "io/jsonText.h"
#include "io/provenanceJson.h"
#include "ops/generate_sample_locations.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace Stratum::tools {

namespace {

namespace Common = Vantor::Geometry::Common;
using Common::GeoLocation;
using Vantor::Math::float3;
using Vantor::Sample::GenerateLocationOptions;
using VantorExp::Geometry::AmountType;
using VantorExp::Geometry::MaskControl;
using VantorExp::Geometry::SampleType;
using Locations = Ostrum::Array<GeoLocation>;

Ostrum::Ptr<Locations> callOperator(const Ostrum::Ptr<Vantor::Object>& geometry,
                                    const GenerateLocationOptions& o,
                                    const Ostrum::RuntimeServices& services) {
    Ostrum::Ptr<Locations> locations;
    try {
        ::Geometry::Query::generate_sample_locations(
            geometry, o.sample_type, o.amount, o.amount_type, o.mask_control, o.seed, o.seed_array,
            o.use_max_number, o.max_number, o.use_mask, o.mask_property, o.invert_mask, locations,
            services);
    } catch (const std::exception&) {
        io::throwIfCancelled();
        throw;
    }
    return locations;
}

std::array<double, 3> between(const float3& a, const float3& b) {
    return {double{b.x} - a.x, double{b.y} - a.y, double{b.z} - a.z};
}

double length(const std::array<double, 3>& v) {
    return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

double triangleArea(const float3& a, const float3& b, const float3& c) {
    const auto u = between(a, b), v = between(a, c);
    return length(
               {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]}) /
           2;
}

// Calls visit(begin, end) for the runs that offsets with a closing entry make.
template <class Visit>
void forEachRun(const Ostrum::Array<std::uint32_t>& offsets, const Visit& visit) {
    for (std::size_t i = 0; i + 1 < offsets.size(); ++i)
        visit(offsets[i], offsets[i + 1]);
}

double areaOf(const Vantor::Object& geometry, const Ostrum::Array<float3>& points) {
    using namespace Vantor::Geometry;
    const auto corners = geometry.propertyData<std::uint32_t>(sFaceVertex);
    double area = 0;
    forEachRun(*geometry.propertyData<std::uint32_t>(sFaceOffset),
               [&](std::uint32_t begin, std::uint32_t end) {
                   for (std::uint32_t i = begin + 1; i + 1 < end; ++i)
                       area += triangleArea(points[(*corners)[begin]], points[(*corners)[i]],
                                            points[(*corners)[i + 1]]);
               });
    return area;
}

double lengthOf(const Vantor::Object& geometry, const Ostrum::Array<float3>& points) {
    double sum = 0;
    forEachRun(*geometry.propertyData<std::uint32_t>(Vantor::Geometry::sStrandOffset),
               [&](std::uint32_t begin, std::uint32_t end) {
                   for (std::uint32_t i = begin; i + 1 < end; ++i)
                       sum += length(between(points[i], points[i + 1]));
               });
    return sum;
}

Common::LocationKind kindOf(const Vantor::Object& geometry, SampleType type) {
    using namespace Vantor::Geometry;
    if (type == SampleType::Points)
        return Common::kOnPoint;
    return geometry.isA(*getMeshPrototype()) ? Common::kOnFace : Common::kOnStrand;
}

void measure(ScatterReport& report, const Vantor::Object& geometry, Common::LocationKind kind) {
    using namespace Vantor::Geometry;
    const auto points = geometry.propertyData<float3>(sPointPosition);
    if (kind == Common::kOnPoint) {
        report.kind = "points";
        report.measureName = "points";
        report.measure = static_cast<double>(points->size());
    } else if (kind == Common::kOnFace) {
        report.kind = "faces";
        report.measureName = "area";
        report.measure = areaOf(geometry, *points);
    } else {
        report.kind = "strands";
        report.measureName = "length";
        report.measure = lengthOf(geometry, *points);
    }
}

// What a count asks for at least, also of a geometry that can have none.
std::uint64_t wholeCountOf(const GenerateLocationOptions& options) {
    if (options.amount_type == AmountType::Density)
        return 0;
    constexpr double kMost = 0x1p62;
    const auto count = static_cast<std::uint64_t>(std::clamp(options.amount, 0.0, kMost));
    return options.use_max_number
               ? std::min(count,
                          static_cast<std::uint64_t>(std::max<std::int64_t>(options.max_number, 0)))
               : count;
}

} // namespace

Scattered scatter(const Ostrum::Ptr<Vantor::Object>& geometry,
                  const GenerateLocationOptions& options) {
    constexpr int kWarning = 2;
    const Kelvane::Logger::timer timer("scatter");
    Scattered scattered;
    scattered.kind = kindOf(*geometry, options.sample_type);
    const Ostrum::RuntimeServices services(kWarning, [&](int, const Ostrum::String& message) {
        scattered.warnings.push_back(message.str());
    });
    const auto start = std::chrono::steady_clock::now();
    const auto locations = callOperator(geometry, options, services);
    scattered.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const auto isNowhere = [](const GeoLocation& location) {
        return location.kind == Common::kNoLocation;
    };
    scattered.nowhere = static_cast<std::uint64_t>(std::ranges::count_if(*locations, isNowhere));
    const auto* rest = std::remove_if(locations->begin(), locations->end(), isNowhere);
    locations->resize(static_cast<std::size_t>(rest - locations->begin()));
    scattered.locations = std::move(*locations);
    return scattered;
}

ScatterReport reportOn(const Scattered& scattered, const Ostrum::Ptr<Vantor::Object>& geometry,
                       const GenerateLocationOptions& options) {
    ScatterReport report;
    report.made = scattered.locations.size();
    report.nowhere = scattered.nowhere;
    report.asked = std::max(report.made + report.nowhere, wholeCountOf(options));
    report.seconds = scattered.seconds;
    report.warnings = scattered.warnings;
    report.foldedSeed = options.seed;
    if (const auto& more = options.seed_array)
        report.foldedSeed = Vantor::Sample::foldSeed(options.seed, {more->data(), more->size()});
    measure(report, *geometry, scattered.kind);
    if (!options.use_mask)
        return report;
    GenerateLocationOptions unmasked = options;
    unmasked.use_mask = false;
    const std::uint64_t tried =
        callOperator(geometry, unmasked, Ostrum::RuntimeServices(0, {}))->size();
    report.asked = std::max(tried, wholeCountOf(options));
    const std::uint64_t missing = tried - std::min(tried, report.made);
    // A density on a mesh tries each location once, unless the largest number made a count of it.
    const bool onceEach =
        options.mask_control != MaskControl::Resample ||
        (report.kind == "faces" && options.amount_type == AmountType::Density &&
         !(options.use_max_number &&
           tried == static_cast<std::uint64_t>(std::max<std::int64_t>(options.max_number, 0))));
    (onceEach ? report.rejected : report.givenUp) = missing;
    return report;
}

std::string reportText(const ScatterReport& report) {
    std::array<char, 128> line{};
    std::string text;
    const auto add = [&](const char* pattern, auto... arguments) {
        std::snprintf(line.data(), line.size(), pattern, arguments...);
        text += line.data();
    };
    const auto number = [](std::uint64_t n) { return static_cast<unsigned long long>(n); };
    add("%llu locations on %s, of %llu asked for\n", number(report.made), report.kind.c_str(),
        number(report.asked));
    add("rejected by the mask   %llu\n", number(report.rejected));
    add("given up               %llu\n", number(report.givenUp));
    if (report.nowhere > 0)
        add("past the last strand   %llu\n", number(report.nowhere));
    add("%-22s %.9g\n", ("total " + report.measureName).c_str(), report.measure);
    add("locations per unit     %.9g\n", report.density());
    add("folded seed            %lld\n", static_cast<long long>(report.foldedSeed));
    add("time                   %.3f s\n", report.seconds);
    return text;
}

std::string reportJson(const ScatterReport& report, const io::Provenance& provenance) {
    std::string warnings;
    for (const auto& warning : report.warnings)
        (warnings += warnings.empty() ? "" : ", ") += io::jsonText(warning);
    std::string text("{");
    text += io::provenanceJson(provenance);
    return text + ",\n \"on\": " + io::jsonText(report.kind) +
           ",\n \"asked\": " + std::to_string(report.asked) +
           ", \"made\": " + std::to_string(report.made) +
           ", \"rejected\": " + std::to_string(report.rejected) +
           ", \"given_up\": " + std::to_string(report.givenUp) +
           ", \"nowhere\": " + std::to_string(report.nowhere) +
           ",\n \"measure\": " + io::jsonText(report.measureName) +
           ", \"total\": " + io::jsonNumber(report.measure) +
           ", \"density\": " + io::jsonNumber(report.density()) +
           ",\n \"seed\": " + std::to_string(report.foldedSeed) +
           ", \"seconds\": " + io::jsonNumber(report.seconds) + ",\n \"warnings\": [" + warnings +
           "]}\n";
}

} // namespace Stratum::tools
