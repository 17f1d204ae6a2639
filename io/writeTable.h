// Tables as files.
#pragma once

#include "io/ColumnTable.h"
#include "io/OutputFile.h"
#include "io/Provenance.h"
#include "io/SampleTable.h"
#include "io/sampleFiles.h"

namespace Stratum::io {

/// Writes a table as CSV; as PLY with the rows as elements "vertex", and underscores for points in
/// names; as an .npy array of records with a field a column; or as JSON with a list a row. All but
/// .npy carry their provenance when there is one, CSV in lines that begin with '#'.
void writeTable(OutputFile& out, SampleFormat format, const ColumnTable& table,
                const Provenance& provenance);

/// The same for positions with their samples, but that an .npy file has the values alone, in C
/// order.
void writeSamples(OutputFile& out, SampleFormat format, const SampleTable& table,
                  const Provenance& provenance);

} // namespace Stratum::io
