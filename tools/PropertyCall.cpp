#include "PropertyCall.h"

#include "io/Cancelled.h"

#include <cmath>

namespace Stratum::tools {

using namespace Vantor::Math;

namespace {

template <class T>
float shown(const T& value) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<float>(value);
    } else {
        double squares = 0;
        for (const auto component : toComponents(value))
            squares += double{component} * double{component};
        return static_cast<float>(std::sqrt(squares));
    }
}

} // namespace

template <class T>
PropertyValues<T> sampleProperty(const Vantor::Object& object, const Locations& locations,
                                 const std::string& channel, const T& fallback) {
    PropertyValues<T> result;
    try {
        Geometry::Internal::sample_volume_property(object, locations, channel, fallback,
                                                   VantorExp::SampleMethod{}, result.values,
                                                   result.valid);
    } catch (const std::exception&) {
        io::throwIfInterrupted();
        throw;
    }
    return result;
}

#define STRATUM_VALUE_TYPE(T)                                                                      \
    template PropertyValues<T> sampleProperty(const Vantor::Object&, const Locations&,             \
                                              const std::string&, const T&);
#include "common/rows.def"

std::vector<float> channelAt(const Vantor::Object& object, const std::string& channel,
                             const Locations& locations) {
    std::vector<float> numbers;
    visitChannel(object, channel, [&]<class Shape, class T>(const PlainChannel<Shape, T>& values) {
        const auto result = sampleProperty<T>(object, locations, channel, values.defaultValue());
        for (const T& value : *result.values)
            numbers.push_back(shown(value));
    });
    return numbers;
}

} // namespace Stratum::tools
