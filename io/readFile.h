// Whole files in memory.
#pragma once

#include <string>

namespace Stratum::io {

/// What messages call a file: its path, or the standard input for "-".
std::string sourceName(const std::string& path);

/// The bytes of a file, or of the standard input for "-". Memory is taken for what is there, not
/// for what anything claims. Throws std::runtime_error saying why it cannot be read, Cancelled when
/// the job is cancelled meanwhile.
std::string readFile(const std::string& path);

} // namespace Stratum::io
