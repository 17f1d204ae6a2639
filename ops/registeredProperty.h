// Tuning constants that a test may override.
#pragma once

#include "Kelvane/Logger.h"
#include "Ostrum/String.h"

#include <locale>
#include <optional>
#include <sstream>

namespace Stratum {

/// The first value registered under a name, read as a number; nothing outside test mode, when none
/// is registered, or when it does not begin with a number.
inline std::optional<float> registeredProperty(const Ostrum::String& name) {
    if (!Kelvane::Logger::getEnableTestMode())
        return std::nullopt;
    const auto values = Kelvane::Logger::retrieveProperty(name);
    if (values.empty())
        return std::nullopt;
    std::istringstream stream(values[0].c_str());
    stream.imbue(std::locale::classic());
    float value = 0;
    return stream >> value ? std::optional(value) : std::nullopt;
}

} // namespace Stratum
