#include "run/writeJson.h"

#include "io/csvValues.h"

#include <nlohmann/json.hpp>

#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <vector>

namespace Stratum::tools::graph {

namespace {

template <class Scalar>
std::string numberToJson(Scalar value) {
    using Bits = std::conditional_t<sizeof(Scalar) == 4, std::uint32_t, std::uint64_t>;
    if (std::isinf(value))
        return value < 0 ? "\"-inf\"" : "\"inf\"";
    if (std::isnan(value)) {
        const auto bits = std::bit_cast<Bits>(value);
        const auto plain = std::bit_cast<Bits>(std::numeric_limits<Scalar>::quiet_NaN());
        constexpr Bits kSign = Bits{1} << (8 * sizeof(Bits) - 1);
        if ((bits | kSign) == (plain | kSign))
            return bits & kSign ? "\"-nan\"" : "\"nan\"";
        char digits[17];
        std::snprintf(digits, sizeof digits, "%0*llx", static_cast<int>(2 * sizeof(Bits)),
                      static_cast<unsigned long long>(bits));
        return std::string("\"0x") + digits + "\"";
    }
    // "-0" is read as an integer by many programs, and its sign is lost.
    if (value == 0 && std::signbit(value))
        return "-0.0";
    std::string text;
    io::appendNumber(text, value);
    return text;
}

std::string list(const std::vector<std::string>& elements, const char* separator = ", ") {
    std::string text = "[";
    for (const auto& element : elements)
        text += (text.size() > 1 ? separator : "") + element;
    return text + "]";
}

std::string elementToJson(std::int64_t value) {
    return std::to_string(value);
}
std::string elementToJson(std::uint32_t value) {
    return std::to_string(value);
}
std::string elementToJson(bool value) {
    return value ? "true" : "false";
}
template <class T>
std::string elementToJson(const T& value) {
    if constexpr (std::is_floating_point_v<T>) {
        return numberToJson(value);
    } else {
        constexpr std::size_t kCount = Vantor::Math::kComponentCount<T>;
        constexpr int kColumns = io::matrixColumns<T>();
        const auto components = Vantor::Math::toComponents(value);
        std::vector<std::string> rows, row;
        for (std::size_t c = 0; c < kCount; ++c) {
            row.push_back(numberToJson(components[c]));
            if (kColumns > 0 && row.size() == std::size_t{kColumns}) {
                rows.push_back(list(row));
                row.clear();
            }
        }
        return list(kColumns > 0 ? rows : row);
    }
}

std::string elementToJson(const Vantor::Geometry::Common::GeoLocation& location) {
    std::vector<std::string> indices, weights;
    for (const std::uint32_t index : location.indices)
        indices.push_back(elementToJson(index));
    for (const float weight : location.weights)
        weights.push_back(numberToJson(weight));
    return "{\"kind\": " + elementToJson(location.kind) +
           ", \"element\": " + elementToJson(location.element) + ", \"indices\": " + list(indices) +
           ", \"weights\": " + list(weights) + "}";
}

template <class T>
std::string arrayToJson(const Ostrum::Array<T>& array) {
    // Scalars side by side, everything else on a line of its own.
    constexpr bool kScalar = std::is_arithmetic_v<T>;
    std::string text = "[";
    for (std::size_t i = 0; i < array.size(); ++i) {
        text += kScalar ? (i > 0 ? ", " : "") : (i > 0 ? ",\n  " : "\n  ");
        text += elementToJson(array[i]);
    }
    return text + (kScalar || array.empty() ? "]" : "\n]");
}

struct Render {
    const Json& place;
    Members& members;

    void operator()(std::monostate) const { members["values"] = "null"; }
    void operator()(const ObjectPtr&) const {
        place.fail("the node is an object, which cannot be written; sample it");
    }
    template <class T>
    void operator()(const ArrayPtr<T>& array) const {
        members["value_type"] = toJson(elementTypeName<T>());
        members["values"] = array ? arrayToJson(*array) : "null";
    }
};

std::string texts(const std::vector<std::string>& lines) {
    std::vector<std::string> rendered;
    rendered.reserve(lines.size());
    for (const auto& line : lines)
        rendered.push_back(toJson(line));
    return list(rendered);
}

std::string timersToJson(const Report& report, bool withSeconds) {
    Members timers;
    for (const auto& [name, timer] : report.timers) {
        Members entry{{"calls", std::to_string(timer.calls)}};
        if (withSeconds)
            entry["seconds"] = numberToJson(timer.seconds);
        timers[name] = toJson(entry);
    }
    return toJson(timers);
}

} // namespace

std::string toJson(const Members& members) {
    std::string text = "{";
    for (const auto& [key, value] : members) {
        text += text.size() > 1 ? ",\n  " : "\n  ";
        text += toJson(key) + ": ";
        for (const char c : value)
            text += c == '\n' ? std::string("\n  ") : std::string(1, c);
    }
    return text + (members.empty() ? "}" : "\n}");
}

std::string toJson(const std::string& text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string toJson(const Outcome& outcome, bool withSeconds, const Json& place) {
    Members members, outputs;
    for (const Output& output : outcome.outputs) {
        Members rendered;
        std::visit(Render{place, rendered}, output.data);
        if (output.untouched)
            rendered["untouched"] = *output.untouched ? "true" : "false";
        outputs[output.name] = toJson(rendered);
    }
    members["outputs"] = toJson(outputs);
    if (const auto& report = outcome.report) {
        members["exception"] = report->exception ? toJson(*report->exception) : "null";
        members["console"] = toJson(Members{{"stdout", toJson(report->console)},
                                            {"stderr", toJson(report->consoleErrors)}});
        members["told"] = toJson(Members{{"log", texts(report->log)},
                                         {"terminated", texts(report->terminated)},
                                         {"timers", timersToJson(*report, withSeconds)}});
    }
    return toJson(members);
}

} // namespace Stratum::tools::graph
