#include "io/csvPositions.h"

#include "io/Cancelled.h"
#include "io/lowerCase.h"
#include "io/parseNumber.h"
#include "io/quoted.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace Stratum::io {

namespace {

using Vantor::Math::float3;

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlank = " \t\r";
    const auto first = text.find_first_not_of(kBlank);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

// The end of the first field: the first comma that is not between quotation marks.
std::size_t endOfField(std::string_view line) {
    bool quotes = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        quotes = quotes != (line[i] == '"');
        if (line[i] == ',' && !quotes)
            return i;
    }
    return std::string_view::npos;
}

std::vector<std::string_view> split(std::string_view line) {
    std::vector<std::string_view> fields;
    for (;;) {
        const auto comma = endOfField(line);
        fields.push_back(trimmed(line.substr(0, comma)));
        if (comma == std::string_view::npos)
            return fields;
        line.remove_prefix(comma + 1);
    }
}

// Names. What begins like a number is meant as one, also when it is none, and must not vanish.
bool isHeader(const std::vector<std::string_view>& fields) {
    for (auto field : fields) {
        if (field.starts_with('"') || field.starts_with('\''))
            field.remove_prefix(1);
        if (field.empty() || parseNumber<float>(field) ||
            std::string_view("0123456789+-.").find(field.front()) != std::string_view::npos)
            return false;
    }
    return fields.size() >= 3;
}

std::string plainName(std::string_view field) {
    std::string name;
    for (const char c : field)
        if (c != '"' && c != '\'')
            name += c;
    return lowerCase(name);
}

// Which of a line's fields are the coordinates.
struct Columns {
    std::array<std::size_t, 3> places{0, 1, 2};
    std::size_t count = 3;
};

// The columns x, y and z of a header, or px, py and pz. Three columns of other names are taken as
// they stand, more are not.
std::optional<Columns> columnsOf(const std::vector<std::string_view>& header) {
    std::vector<std::string> names;
    for (const auto field : header)
        names.push_back(plainName(field));
    for (const std::string prefix : {"", "p"}) {
        Columns columns{{}, names.size()};
        std::size_t found = 0;
        for (const char axis : {'x', 'y', 'z'}) {
            const auto place = std::ranges::find(names, prefix + axis);
            if (place != names.end())
                columns.places[found++] = static_cast<std::size_t>(place - names.begin());
        }
        if (found == 3)
            return columns;
    }
    if (names.size() == 3)
        return Columns{};
    return {};
}

} // namespace

Ostrum::Array<float3> readCsvPositions(std::istream& in, const std::string& source) {
    Ostrum::Array<float3> positions;
    std::string text;
    bool headerAllowed = true;
    Columns columns;
    for (std::size_t number = 1; std::getline(in, text); ++number) {
        throwIfInterrupted();
        std::string_view line = text;
        if (number == 1 && line.starts_with("\xEF\xBB\xBF")) // the mark some editors put first
            line.remove_prefix(3);
        line = trimmed(line);
        if (line.empty() || line.starts_with('#'))
            continue;
        const auto fields = split(line);
        const auto fail = [&](const std::string& what) {
            throw std::runtime_error(source + ", line " + std::to_string(number) + ": " + what);
        };
        if (std::exchange(headerAllowed, false) && isHeader(fields)) {
            const auto named = columnsOf(fields);
            if (!named)
                fail("the header names no columns x, y, z (or px, py, pz)");
            columns = *named;
            continue;
        }
        if (fields.size() != columns.count)
            fail((columns.count == 3 ? "a position has 3 numbers, x,y,z, and this line has "
                                     : "the header has " + std::to_string(columns.count) +
                                           " columns, and this line has ") +
                 std::to_string(fields.size()) + (fields.size() == 1 ? " field" : " fields"));
        std::array<float, 3> p{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const auto field = fields[columns.places[axis]];
            const auto value = parseNumber<float>(field);
            if (!value)
                fail(quoted(field) + " is not a number of single precision");
            p[axis] = *value;
        }
        positions.push_back({p[0], p[1], p[2]});
    }
    throwIfInterrupted();
    if (in.bad())
        throw std::runtime_error("cannot read '" + source + "' to its end");
    return positions;
}

Ostrum::Array<float3> readCsvPositions(const std::string& path) {
    if (std::filesystem::is_directory(path))
        throw std::runtime_error("cannot read '" + path + "': it is a directory");
    std::ifstream in(path);
    if (!in)
        throw std::runtime_error("cannot read '" + path + "': " + std::strerror(errno));
    return readCsvPositions(in, path);
}

} // namespace Stratum::io
