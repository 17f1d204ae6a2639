// Positions from files, and the formats that tables are written in.
#pragma once

#include "Ostrum/Array.h"
#include "common/Math.h"

#include <optional>
#include <string>
#include <vector>

namespace Stratum::io {

enum class SampleFormat { kCsv, kNpy, kPly, kPlyBigEndian, kPlyAscii, kJson };

/// The names of the formats as options give them; positions are read from the first three only.
std::vector<std::string> sampleFormatNames();

/// Throws std::invalid_argument for another name.
SampleFormat sampleFormatNamed(const std::string& name);

/// The format that a file's extension stands for; CSV for "-" and for extensions that say nothing.
SampleFormat sampleFormatOf(const std::string& path);

/// Reads positions from a file, or from the standard input for "-". Without a format, the file's
/// extension decides, and for the standard input what it begins with. Throws std::runtime_error
/// with one line that says what is wrong and where.
Ostrum::Array<Vantor::Math::float3> readPositions(const std::string& path,
                                                  std::optional<SampleFormat> format = {});

} // namespace Stratum::io
