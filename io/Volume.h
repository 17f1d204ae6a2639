// A volume as the readers hand it over.
#pragma once

#include "Ostrum/Ptr.h"
#include "Vantor/Object.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Stratum::io {

/// The tree shapes, by the number of children an axis.
enum class TreeShape : int { kTwo = 2, kFive = 5 };

/// What the values of a channel stand for.
enum class ChannelKind { kLevelSet, kFog, kOther };

struct ChannelInfo {
    std::string name;
    std::string origin;                     ///< what the values were made from, for people to read
    std::vector<std::string> alsoNamed;     ///< further names of the same channel
    ChannelKind kind = ChannelKind::kOther; ///< as far as the source says
};

/// What a volume held before and after it was coarsened.
struct Saving {
    struct Amount {
        std::size_t tiles = 0, voxels = 0, bytes = 0;
    };
    double tolerance = 0;
    Amount before, after;
};

struct Volume {
    Ostrum::Ptr<Vantor::Object> object;
    std::vector<ChannelInfo> channels;
    /// What could not be taken over as it was, one sentence each.
    std::vector<std::string> warnings;
    std::optional<Saving> saving = {}; ///< when it was coarsened
};

} // namespace Stratum::io
