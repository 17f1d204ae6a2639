#include "run/readValue.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

namespace Stratum::tools::graph {

namespace {

// What cannot be written as a JSON number.
template <class Scalar>
std::optional<Scalar> parseSpecial(std::string_view text) {
    using Bits = std::conditional_t<sizeof(Scalar) == 4, std::uint32_t, std::uint64_t>;
    using Limits = std::numeric_limits<Scalar>;
    if (text == "nan" || text == "-nan")
        return std::copysign(Limits::quiet_NaN(), text == "nan" ? Scalar{1} : Scalar{-1});
    if (text == "inf" || text == "-inf")
        return text == "inf" ? Limits::infinity() : -Limits::infinity();
    if (!text.starts_with("0x") || text.size() != 2 + 2 * sizeof(Scalar))
        return {};
    text.remove_prefix(2);
    Bits bits = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), bits, 16);
    if (error != std::errc() || end != text.data() + text.size())
        return {};
    return std::bit_cast<Scalar>(bits);
}

} // namespace

template <class Scalar>
Scalar readScalar(const Json& json) {
    constexpr bool kSingle = std::is_same_v<Scalar, float>;
    if (const auto* integer = std::get_if<std::int64_t>(&json.data))
        return static_cast<Scalar>(*integer);
    if (const auto* integer = std::get_if<std::uint64_t>(&json.data))
        return static_cast<Scalar>(*integer);
    if (const auto* real = std::get_if<JsonReal>(&json.data)) {
        const Scalar value = kSingle ? real->asFloat : static_cast<Scalar>(real->asDouble);
        if (std::isinf(value))
            json.fail(std::string("the number is beyond the range of ") +
                      (kSingle ? "float" : "double"));
        return value;
    }
    if (json.isText())
        if (const auto special = parseSpecial<Scalar>(json.text()))
            return *special;
    json.fail(std::string("a number, \"nan\", \"-nan\", \"inf\", \"-inf\" or \"0x\" with ") +
              (kSingle ? "8" : "16") + " hexadecimal digits is wanted" +
              (json.isText() ? "" : ", not " + json.kind()));
}

template float readScalar<float>(const Json&);
template double readScalar<double>(const Json&);

std::int64_t readBits64(const Json& json) {
    if (const auto* value = std::get_if<std::int64_t>(&json.data))
        return *value;
    if (const auto* value = std::get_if<std::uint64_t>(&json.data))
        return static_cast<std::int64_t>(*value);
    json.fail("a whole number from -2^63 to 2^64 - 1 is wanted");
}

Vantor::Geometry::Common::GeoLocation readLocation(const Json& json) {
    json.allowOnly({"kind", "element", "indices", "weights"});
    Vantor::Geometry::Common::GeoLocation location;
    location.kind = readElement<std::uint32_t>(json.at("kind"));
    location.element = readElement<std::uint32_t>(json.at("element"));
    const auto fill = [&]<class T>(const char* key, std::array<T, 4>& values) {
        const Json* numbers = json.find(key);
        if (!numbers)
            return;
        const auto& list = numbers->list();
        if (list.size() > values.size())
            numbers->fail("up to 4 numbers are wanted, not " + std::to_string(list.size()));
        for (std::size_t i = 0; i < list.size(); ++i)
            values[i] = readElement<T>(list[i]);
    };
    fill("indices", location.indices);
    fill("weights", location.weights);
    return location;
}

} // namespace Stratum::tools::graph
