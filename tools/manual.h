// The manual page and the shell completion, made from what --help knows.
#pragma once

#include <CLI/App.hpp>

#include <string>

namespace Stratum::tools {

/// A page for man(1), in roff.
std::string manualPage(const CLI::App& app);

/// A script that completes subcommands, options and their enumerated values in bash.
std::string bashCompletion(const CLI::App& app);

} // namespace Stratum::tools
