// What nodes hand to each other.
#pragma once

#include "Ostrum/Array.h"
#include "Ostrum/Ptr.h"
#include "Vantor/GeoLocation.h"
#include "Vantor/Object.h"
#include "common/Math.h"

#include <cstdint>
#include <string>
#include <type_traits>
#include <variant>

namespace Stratum::tools::graph {

template <class T>
using ArrayPtr = Ostrum::Ptr<Ostrum::Array<T>>;
using ObjectPtr = Ostrum::Ptr<Vantor::Object>;

namespace detail {
using namespace Vantor::Math;
using Data =
    std::variant<std::monostate, ObjectPtr
#define STRATUM_VALUE_TYPE(T) , ArrayPtr<T>
#include "common/rows.def"
                 ,
                 ArrayPtr<std::int64_t>, ArrayPtr<bool>, ArrayPtr<std::uint32_t>, ArrayPtr<double2>,
                 ArrayPtr<double4>, ArrayPtr<Vantor::Geometry::Common::GeoLocation>>;
} // namespace detail

/// Nothing, an object, or an array of any element type.
using Data = detail::Data;

/// Calls `f(std::type_identity<T>, name)` for every value type that a channel may have.
template <class F>
void forEachValueTypeName(const F& f) {
    using namespace Vantor::Math;
#define STRATUM_VALUE_TYPE(T) f(std::type_identity<T>{}, #T);
#include "common/rows.def"
}

/// The same for every element type that an array may have.
template <class F>
void forEachElementTypeName(const F& f) {
    forEachValueTypeName(f);
    f(std::type_identity<std::int64_t>{}, "int64");
    f(std::type_identity<bool>{}, "bool");
    f(std::type_identity<std::uint32_t>{}, "uint32");
    f(std::type_identity<Vantor::Math::double2>{}, "double2");
    f(std::type_identity<Vantor::Math::double4>{}, "double4");
    f(std::type_identity<Vantor::Geometry::Common::GeoLocation>{}, "location");
}

template <class T>
std::string elementTypeName() {
    std::string name;
    forEachElementTypeName([&]<class E>(std::type_identity<E>, const char* candidate) {
        if (std::is_same_v<E, T>)
            name = candidate;
    });
    return name;
}

/// "an array of float3", "an object", "nothing".
std::string describe(const Data& data);

} // namespace Stratum::tools::graph
