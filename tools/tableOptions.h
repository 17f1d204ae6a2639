// The options of commands that read positions and write tables.
#pragma once

#include "Ostrum/Array.h"
#include "common/Math.h"
#include "io/sampleFiles.h"

#include <CLI/App.hpp>

#include <string>

namespace Stratum::tools {

struct TableOptions {
    std::string inputFormat, format, output = "-";
    bool withProvenance = false;
};

/// Adds --input-format for what help calls `positions`, --format, --provenance and -o.
void addTableOptions(CLI::App& command, TableOptions& options, const std::string& positions);

/// The positions in a file, of the format that --input-format says.
Ostrum::Array<Vantor::Math::float3> readPositions(const std::string& file,
                                                  const TableOptions& options);

/// The format of the output: JSON, or what --format or the file's extension says.
io::SampleFormat outputFormat(const TableOptions& options, bool json);

} // namespace Stratum::tools
