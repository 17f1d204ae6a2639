#include "io/sampleFiles.h"

#include "io/csvPositions.h"
#include "io/floatWidths.h"
#include "io/lowerCase.h"
#include "io/npyFile.h"
#include "io/plyFile.h"
#include "io/readFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <sstream>
#include <stdexcept>

namespace Stratum::io {

namespace {

using Vantor::Math::float3;
using Positions = Ostrum::Array<float3>;

constexpr std::array<const char*, 6> kNames{"csv", "npy", "ply", "ply-big", "ply-ascii", "json"};

float coordinate(double value, const std::string& source, std::size_t index) {
    if (std::isfinite(value) && std::isinf(narrowed(value)))
        throw std::runtime_error(source + ": position " + std::to_string(index) +
                                 " is beyond single precision");
    return narrowed(value);
}

Positions plyPositions(std::string_view bytes, const std::string& source) {
    const std::array<std::string, 3> names{"x", "y", "z"};
    const auto columns = readPlyVertices(bytes, source, names);
    Positions positions(columns[0].size());
    for (std::size_t i = 0; i < positions.size(); ++i)
        positions[i] = {coordinate(columns[0][i], source, i), coordinate(columns[1][i], source, i),
                        coordinate(columns[2][i], source, i)};
    return positions;
}

Positions npyPositions(std::string_view bytes, const std::string& source) {
    const auto triples = readNpyTriples(bytes, source);
    Positions positions(triples.size());
    for (std::size_t i = 0; i < positions.size(); ++i)
        positions[i] = {coordinate(triples[i][0], source, i), coordinate(triples[i][1], source, i),
                        coordinate(triples[i][2], source, i)};
    return positions;
}

SampleFormat formatOfInput(std::string_view bytes) {
    return bytes.starts_with("\x93NUMPY")                               ? SampleFormat::kNpy
           : bytes.starts_with("ply\n") || bytes.starts_with("ply\r\n") ? SampleFormat::kPly
                                                                        : SampleFormat::kCsv;
}

Positions positionsIn(const std::string& bytes, SampleFormat format, const std::string& source) {
    switch (format) {
    case SampleFormat::kCsv: {
        std::istringstream text(bytes);
        return readCsvPositions(text, source);
    }
    case SampleFormat::kNpy:
        return npyPositions(bytes, source);
    case SampleFormat::kPly:
    case SampleFormat::kPlyBigEndian:
    case SampleFormat::kPlyAscii:
        return plyPositions(bytes, source);
    case SampleFormat::kJson:
        break;
    }
    throw std::runtime_error("cannot read '" + source +
                             "': positions come from .csv, .npy and .ply files");
}

} // namespace

std::vector<std::string> sampleFormatNames() {
    return {kNames.begin(), kNames.end()};
}

SampleFormat sampleFormatNamed(const std::string& name) {
    const auto found = std::ranges::find(kNames, name);
    if (found == kNames.end())
        throw std::invalid_argument("there is no format '" + name + "'");
    return static_cast<SampleFormat>(found - kNames.begin());
}

SampleFormat sampleFormatOf(const std::string& path) {
    const std::string lower = lowerCase(path);
    return lower.ends_with(".npy")    ? SampleFormat::kNpy
           : lower.ends_with(".ply")  ? SampleFormat::kPly
           : lower.ends_with(".json") ? SampleFormat::kJson
                                      : SampleFormat::kCsv;
}

Positions readPositions(const std::string& path, std::optional<SampleFormat> format) {
    if (path != "-" && format.value_or(sampleFormatOf(path)) == SampleFormat::kCsv)
        return readCsvPositions(path); // line by line
    if (!format && path != "-" && sampleFormatOf(path) == SampleFormat::kJson)
        return positionsIn({}, SampleFormat::kJson, path);
    const std::string bytes = readFile(path);
    if (path == "-" && bytes.empty()) // what should have written it may have failed
        throw std::runtime_error("standard input holds nothing, not even a header");
    if (!format)
        format = path == "-" ? formatOfInput(bytes) : sampleFormatOf(path);
    return positionsIn(bytes, *format, sourceName(path));
}

} // namespace Stratum::io
