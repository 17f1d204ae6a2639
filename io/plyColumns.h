// The elements of a PLY file, property by property.
#pragma once

#include "io/PlyHeader.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Stratum::io {

/// All numbers of one property, each exact in a double; of a list, how many each element has.
struct PlyColumn {
    std::vector<double> numbers;
    std::vector<std::uint32_t> lengths;
};

/// By the names of element and property.
using PlyColumns = std::map<std::pair<std::string, std::string>, PlyColumn>;
using WantsPlyProperty = std::function<bool(const PlyElement&, const PlyProperty&)>;

/// Reads the properties that are wanted of a file with that header; `bytes` are the whole file, and
/// must hold all that the header claims and nothing more. Throws std::runtime_error naming `source`
/// and the place, Cancelled when the job is cancelled.
PlyColumns readPlyColumns(std::string_view bytes, const std::string& source,
                          const PlyHeader& header, const WantsPlyProperty& wants);

} // namespace Stratum::io
