// What stratum scatter is asked to do.
#pragma once

#include "commonOptions.h"
#include "io/Provenance.h"

#include <CLI/App.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Stratum::tools {

struct ScatterPictureOptions {
    std::string file; ///< none without a name
    std::vector<double> view{30, 25};
    std::string up = "z", colour;
    int size = 800;
    double pointSize = 0;
};

struct ScatterOptions {
    CommonOptions common;
    std::string channel;
    std::optional<double> count, density;
    std::string seed = "0";
    std::vector<std::string> seedArray;
    std::optional<std::int64_t> most;
    std::string mask, kind, output, format;
    /// Without one, whatever the geometry has.
    std::optional<std::string> onReject;
    bool invertMask = false, withProvenance = false;
    ScatterPictureOptions picture;
    io::Provenance provenance;

    io::Provenance origin() const {
        io::Provenance origin = provenance;
        origin.inputs.push_back(common.file);
        return origin;
    }

    /// Where locations go: the standard output unless something else is asked for.
    std::string target() const {
        return output.empty() && picture.file.empty() && !common.json ? "-" : output;
    }
};

void addScatterOptions(CLI::App& command, ScatterOptions& options);

/// A 64-bit number, signed or unsigned; from 2^63 on as the signed number of the same bits. None
/// where the text is none.
std::optional<std::int64_t> parseSeed(const std::string& text);

} // namespace Stratum::tools
