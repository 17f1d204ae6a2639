// Positions in, samples out, in any of the formats.
#pragma once

#include "io/OutputFile.h"
#include "io/Provenance.h"
#include "io/SampleTable.h"

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

/// Writes samples. CSV carries its provenance, when there is one, in lines that begin with '#'; an
/// .npy file has no place for it.
void writeSamples(OutputFile& out, SampleFormat format, const SampleTable& table,
                  const Provenance& provenance);

} // namespace Stratum::io
