// Values of the math types from a graph, bit for bit.
#pragma once

#include "io/csvValues.h"
#include "run/Data.h"
#include "run/Json.h"

#include <array>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace Stratum::tools::graph {

/// A float or double: a number, rounded once; or "nan", "-nan", "inf", "-inf", or the number's bits
/// as "0x" and 8 or 16 hexadecimal digits. Fails for a number beyond the type's largest.
template <class Scalar>
Scalar readScalar(const Json& json);

/// A 64-bit number, signed or unsigned; from 2^63 on as the signed number of the same bits.
std::int64_t readBits64(const Json& json);

/// {"kind": 3, "element": 7, "indices": [0, 1, 2], "weights": [0.5, 0.25, 0.25]}: what a list does
/// not say is as in a location that is nowhere.
Vantor::Geometry::Common::GeoLocation readLocation(const Json& json);

/// One element: a number, an array of components, or for matrices an array of rows.
template <class T>
T readElement(const Json& json) {
    if constexpr (std::is_same_v<T, bool>) {
        return json.boolean();
    } else if constexpr (std::is_same_v<T, Vantor::Geometry::Common::GeoLocation>) {
        return readLocation(json);
    } else if constexpr (std::is_integral_v<T>) {
        return static_cast<T>(
            json.integer(std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
    } else if constexpr (std::is_floating_point_v<T>) {
        return readScalar<T>(json);
    } else {
        using Scalar = Vantor::Math::ScalarOf<T>;
        constexpr std::size_t kCount = Vantor::Math::kComponentCount<T>;
        constexpr std::size_t kColumns = io::matrixColumns<T>();
        Vantor::Math::Components<T> components{};
        if constexpr (kColumns == 0) {
            const auto& list = json.list(kCount);
            for (std::size_t c = 0; c < kCount; ++c)
                components[c] = readScalar<Scalar>(list[c]);
        } else {
            const auto& rows = json.list(kCount / kColumns);
            for (std::size_t c = 0; c < kCount; ++c)
                components[c] = readScalar<Scalar>(rows[c / kColumns].list(kColumns)[c % kColumns]);
        }
        return Vantor::Math::fromComponents<T>(components);
    }
}

template <class T>
ArrayPtr<T> readArray(const Json& json) {
    const auto& list = json.list();
    auto array = Ostrum::makePtr<Ostrum::Array<T>>(list.size(), T());
    for (std::size_t i = 0; i < list.size(); ++i)
        (*array)[i] = readElement<T>(list[i]);
    return array;
}

template <class ForEach, class F>
void visitNamed(const Json& name, const ForEach& forEach, const F& f) {
    const std::string& wanted = name.text();
    bool found = false;
    std::string allowed;
    forEach([&]<class T>(std::type_identity<T> type, const char* candidate) {
        allowed += (allowed.empty() ? "" : ", ") + std::string(candidate);
        if (!found && wanted == candidate) {
            found = true;
            f(type);
        }
    });
    if (!found)
        name.fail("there is no type '" + wanted + "'; allowed are: " + allowed);
}

/// Calls `f(std::type_identity<T>)` for the value type that a text names; fails for another text.
template <class F>
void visitValueType(const Json& name, const F& f) {
    visitNamed(
        name, [](const auto& each) { forEachValueTypeName(each); }, f);
}

/// The same for the element types of arrays.
template <class F>
void visitElementType(const Json& name, const F& f) {
    visitNamed(
        name, [](const auto& each) { forEachElementTypeName(each); }, f);
}

} // namespace Stratum::tools::graph
