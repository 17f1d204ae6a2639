#include "ScatterCall.h"

#include "Kelvane/Logger.h"
#include "Vantor/Geometry.h"
#include "common/foldSeed.h"
#include "io/Cancelled.h"
#include "io/jsonText.h"
#include "io/provenanceJson.h"
#include "memory.h"
#include "ops/generate_sample_locations.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <stdexcept>

namespace Stratum::tools {

namespace {

namespace Common = Vantor::Geometry::Common;
using Common::GeoLocation;
using Vantor::Sample::GenerateLocationOptions;
using VantorExp::Geometry::AmountType;
using VantorExp::Geometry::MaskControl;
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
        io::throwIfInterrupted();
        throw;
    }
    return locations;
}

// About how many locations there will be before a mask leaves some out.
double expectedCount(const ScatterMeasure& measure, const GenerateLocationOptions& options) {
    const bool density = options.amount_type == AmountType::Density && measure.name != "points";
    const double count =
        density ? options.amount * measure.boxVolume.value_or(measure.total) : options.amount;
    const bool capped = options.use_max_number && !(density && measure.boxVolume);
    return capped ? std::min(count, static_cast<double>(options.max_number)) : count;
}

void requireMemoryFor(const ScatterMeasure& measure, const GenerateLocationOptions& options) {
    const double count = expectedCount(measure, options);
    // What a mask leaves of them is a copy; a table of them has up to 13 columns.
    constexpr double kTable = 13 * sizeof(float);
    requireMemory(count * (sizeof(GeoLocation) * (options.use_mask ? 2 : 1) + kTable),
                  io::jsonNumber(count) + " locations");
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

// `tried` are the locations without a mask. Volumes without cells have a warning of their own.
void warnOfNothing(ScatterReport& report, std::uint64_t tried) {
    const bool isMeasured =
        report.measure.location == Common::kOnFace || report.measure.location == Common::kOnStrand;
    if (isMeasured && report.asked > 0 && tried == 0)
        report.warnings.push_back("nothing was made: the " + report.measure.name +
                                  " is too small, too large or none at all");
}

} // namespace

GenerateLocationOptions generateOptions(const ScatterOptions& options,
                                        const ScatterSource& source) {
    GenerateLocationOptions generate;
    generate.sample_type = source.type;
    generate.amount = options.density.value_or(options.count.value_or(0));
    generate.amount_type = options.density ? AmountType::Density : AmountType::Count;
    generate.mask_control =
        options.onReject == "discard" ? MaskControl::Discard : MaskControl::Resample;
    generate.seed = *parseSeed(options.seed);
    if (!options.seedArray.empty())
        generate.seed_array = Ostrum::makePtr<Ostrum::Array<long long>>();
    for (const auto& seed : options.seedArray)
        generate.seed_array->push_back(*parseSeed(seed));
    generate.use_max_number = options.most.has_value();
    generate.max_number = options.most.value_or(0);
    if (!source.mask.empty()) {
        generate.use_mask = true;
        generate.mask_property = source.mask;
        generate.invert_mask = options.invertMask;
    }
    return generate;
}

Scattered scatter(const ScatterSource& source, const GenerateLocationOptions& options) {
    requireMemoryFor(source.measure, options);
    constexpr int kWarning = 2;
    const Kelvane::Logger::timer timer("scatter");
    Scattered scattered;
    scattered.kind = source.measure.location;
    const Ostrum::RuntimeServices services(kWarning, [&](int, const Ostrum::String& message) {
        scattered.warnings.push_back(message.str());
    });
    const auto start = std::chrono::steady_clock::now();
    const auto locations = callOperator(source.object, options, services);
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

ScatterReport reportOn(const Scattered& scattered, const ScatterSource& source,
                       const GenerateLocationOptions& options) {
    ScatterReport report;
    report.measure = source.measure;
    report.made = scattered.locations.size();
    report.nowhere = scattered.nowhere;
    report.asked = std::max(report.made + report.nowhere, wholeCountOf(options));
    report.seconds = scattered.seconds;
    report.warnings = source.warnings;
    report.warnings.insert(report.warnings.end(), scattered.warnings.begin(),
                           scattered.warnings.end());
    report.foldedSeed = options.seed;
    if (const auto& more = options.seed_array)
        report.foldedSeed = Vantor::Sample::foldSeed(options.seed, {more->data(), more->size()});
    const bool density =
        options.amount_type == AmountType::Density && source.measure.name != "points";
    if (density)
        report.askedDensity = options.amount;
    if (!options.use_mask) {
        warnOfNothing(report, report.made + report.nowhere);
        return report;
    }
    GenerateLocationOptions unmasked = options;
    unmasked.use_mask = false;
    const std::uint64_t tried =
        callOperator(source.object, unmasked, Ostrum::RuntimeServices(0, {}))->size();
    report.asked = std::max(tried, wholeCountOf(options));
    warnOfNothing(report, tried);
    const std::uint64_t missing = tried - std::min(tried, report.made);
    // A density on a mesh tries each location once, unless the largest number made a count of it.
    const bool onceEach =
        !source.isVolume() &&
        (options.mask_control != MaskControl::Resample ||
         (source.measure.location == Common::kOnFace && density &&
          !(options.use_max_number &&
            tried == static_cast<std::uint64_t>(std::max<std::int64_t>(options.max_number, 0)))));
    (onceEach ? report.rejected : report.givenUp) = missing;
    return report;
}

std::string reportText(const ScatterReport& report) {
    std::array<char, 512> line{};
    std::string text;
    const auto add = [&](const char* pattern, auto... arguments) {
        std::snprintf(line.data(), line.size(), pattern, arguments...);
        text += line.data();
    };
    const auto number = [](std::uint64_t n) { return static_cast<unsigned long long>(n); };
    const ScatterMeasure& measure = report.measure;
    const std::string where = measure.boxVolume
                                  ? "in " + measure.kind + " '" + measure.channel + "'"
                                  : "on " + measure.kind;
    add("%llu locations %s, of %llu asked for\n", number(report.made), where.c_str(),
        number(report.asked));
    add("rejected by the mask   %llu\n", number(report.rejected));
    add("given up               %llu\n", number(report.givenUp));
    if (report.nowhere > 0)
        add("past the last strand   %llu\n", number(report.nowhere));
    add("%-22s %.9g\n", ("total " + measure.name).c_str(), measure.total);
    if (measure.boxVolume)
        add("of their bounding box  %.9g\n", *measure.boxVolume);
    if (report.askedDensity)
        add("density asked for      %.9g%s\n", *report.askedDensity,
            measure.boxVolume ? ", in the bounding box" : "");
    add("%s %.9g\n", report.askedDensity ? "density reached       " : "locations per unit    ",
        report.density());
    add("folded seed            %lld\n", static_cast<long long>(report.foldedSeed));
    add("time                   %.3f s\n", report.seconds);
    return text;
}

std::string reportJson(const ScatterReport& report, const io::Provenance& provenance) {
    std::string warnings;
    for (const auto& warning : report.warnings)
        (warnings += warnings.empty() ? "" : ", ") += io::jsonText(warning);
    const auto orNull = [](const std::optional<double>& number) {
        return number ? io::jsonNumber(*number) : std::string("null");
    };
    std::string text("{");
    text += io::provenanceJson(provenance);
    return text + ",\n \"on\": " + io::jsonText(report.measure.kind) + ", \"channel\": " +
           (report.measure.boxVolume ? io::jsonText(report.measure.channel) : "null") +
           ",\n \"asked\": " + std::to_string(report.asked) +
           ", \"made\": " + std::to_string(report.made) +
           ", \"rejected\": " + std::to_string(report.rejected) +
           ", \"given_up\": " + std::to_string(report.givenUp) +
           ", \"nowhere\": " + std::to_string(report.nowhere) +
           ",\n \"measure\": " + io::jsonText(report.measure.name) +
           ", \"total\": " + io::jsonNumber(report.measure.total) +
           ", \"box\": " + orNull(report.measure.boxVolume) +
           ", \"asked_density\": " + orNull(report.askedDensity) +
           ", \"density\": " + io::jsonNumber(report.density()) +
           ",\n \"seed\": " + std::to_string(report.foldedSeed) +
           ", \"seconds\": " + io::jsonNumber(report.seconds) + ",\n \"warnings\": [" + warnings +
           "]}\n";
}

} // namespace Stratum::tools
