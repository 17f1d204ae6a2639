// The standard output stream, kept for results.
#pragma once

#include "io/OutputFile.h"

#include <string>

namespace Stratum::tools {

/// Where a command's results go: the standard output stream, or a file that appears when all is
/// written.
class Results {
public:
    /// Sends what libraries print on the standard output stream to the standard error stream, so
    /// that diagnostics never get into results. To be called once, first of all.
    static void keepForResultsOnly();

    /// "-" is the standard output stream.
    explicit Results(const std::string& path = "-");

    io::OutputFile& out() { return out_; }

    /// Makes the file appear, unless the command was interrupted meanwhile.
    void commit();

private:
    io::OutputFile out_;
};

} // namespace Stratum::tools
