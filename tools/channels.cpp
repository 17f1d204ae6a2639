#include "channels.h"

#include <stdexcept>

namespace Stratum::tools {

void failWithoutChannel(const io::Volume& volume, const std::string& name) {
    std::string names;
    for (const auto& channel : volume.channels)
        names += (names.empty() ? "" : ", ") + channel.name;
    throw std::runtime_error("there is no channel '" + name + "'; the volume has: " + names);
}

} // namespace Stratum::tools
