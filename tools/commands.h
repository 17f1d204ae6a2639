// The subcommands; each adds itself with its options and runs while the command line is parsed.
#pragma once

#include "io/Provenance.h"

#include <CLI/App.hpp>

namespace Stratum::tools {

void addInfo(CLI::App& app, const io::Provenance& provenance);
void addSample(CLI::App& app, const io::Provenance& provenance);
void addGradient(CLI::App& app, const io::Provenance& provenance);
void addSlice(CLI::App& app, const io::Provenance& provenance);
void addScatter(CLI::App& app, const io::Provenance& provenance);
void addProperty(CLI::App& app, const io::Provenance& provenance);
void addDemo(CLI::App& app, const io::Provenance& provenance);
void addRun(CLI::App& app);

} // namespace Stratum::tools
