// Calling the operator that samples at locations.
#pragma once

#include "Vantor/GeoLocation.h"
#include "Vantor/Object.h"
#include "channels.h"
#include "ops/sample_volume_property.h"

#include <string>
#include <vector>

namespace Stratum::tools {

using Locations = Ostrum::Array<Vantor::Geometry::Common::GeoLocation>;

/// What sample_volume_property gives: one value and one flag a location, or nothing.
template <class T>
struct PropertyValues {
    Ostrum::Ptr<Ostrum::Array<T>> values;
    Ostrum::Ptr<Ostrum::Array<bool>> valid;
};

/// Calls the operator. Throws io::Cancelled when the user cancels it.
template <class T>
PropertyValues<T> sampleProperty(const Vantor::Object& object, const Locations& locations,
                                 const std::string& channel, const T& fallback);

/// A channel's values at locations as numbers to show: vectors and matrices by their length.
std::vector<float> channelAt(const Vantor::Object& object, const std::string& channel,
                             const Locations& locations);

} // namespace Stratum::tools
