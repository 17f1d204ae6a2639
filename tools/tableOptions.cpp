#include "tableOptions.h"

#include <CLI/Validators.hpp>

#include <optional>
#include <vector>

namespace Stratum::tools {

void addTableOptions(CLI::App& command, TableOptions& options, const std::string& positions) {
    const auto names = io::sampleFormatNames();
    command
        .add_option("--input-format", options.inputFormat,
                    "format of the " + positions +
                        "; by the file's extension, and by what standard input begins with")
        ->check(CLI::IsMember(std::vector<std::string>(names.begin(), names.begin() + 3)));
    command
        .add_option("--format", options.format,
                    "format of the output; by the file's extension, else csv")
        ->check(CLI::IsMember(names));
    command.add_flag("--provenance", options.withProvenance,
                     "begin CSV with '#' lines that say where it comes from, as PLY and JSON do");
    command.add_option("-o,--output", options.output, "file to write, - for standard output")
        ->capture_default_str();
}

Ostrum::Array<Vantor::Math::float3> readPositions(const std::string& file,
                                                  const TableOptions& options) {
    std::optional<io::SampleFormat> format;
    if (!options.inputFormat.empty())
        format = io::sampleFormatNamed(options.inputFormat);
    return io::readPositions(file, format);
}

io::SampleFormat outputFormat(const TableOptions& options, bool json) {
    if (json && !options.format.empty() && options.format != "json")
        throw CLI::ValidationError("--json", "--format asks for " + options.format);
    return json                     ? io::SampleFormat::kJson
           : options.format.empty() ? io::sampleFormatOf(options.output)
                                    : io::sampleFormatNamed(options.format);
}

} // namespace Stratum::tools
