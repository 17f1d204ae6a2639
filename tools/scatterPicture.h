// The picture of scattered locations.
#pragma once

#include "Results.h"
#include "ScatterCall.h"
#include "io/OrthographicView.h"

#include <CLI/App.hpp>

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

/// Adds --png and what it shows.
void addPictureOptions(CLI::App& command, ScatterPictureOptions& options);

/// Draws the locations over the geometry; `name` is the picture's title.
void drawScattered(const ScatterPictureOptions& options, const Vantor::Object& geometry,
                   const Scattered& scattered, const std::string& name, Results& results);

} // namespace Stratum::tools
