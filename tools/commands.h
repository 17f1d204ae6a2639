// The subcommands; each adds itself with its options and runs while the command line is parsed.
#pragma once

#include <CLI/App.hpp>

namespace Stratum::tools {

void addInfo(CLI::App& app);
void addSample(CLI::App& app);
void addSlice(CLI::App& app);
void addDemo(CLI::App& app);
void addRun(CLI::App& app);

} // namespace Stratum::tools
