// Rows of numbers under named columns.
#pragma once

#include "io/OutputFile.h"
#include "io/Provenance.h"
#include "io/sampleFiles.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Stratum::io {

/// Columns of one length, each of numbers of single precision or of unsigned whole numbers.
class ColumnTable {
public:
    using Cells = std::variant<std::vector<float>, std::vector<std::uint32_t>>;
    struct Column {
        std::string name; ///< of letters, digits and underscores
        Cells cells;
    };

    void add(std::string name, Cells cells) {
        rows_ = std::visit([](const auto& numbers) { return numbers.size(); }, cells);
        columns_.push_back({std::move(name), std::move(cells)});
    }
    std::size_t rows() const { return rows_; }
    const std::vector<Column>& columns() const { return columns_; }

private:
    std::vector<Column> columns_;
    std::size_t rows_ = 0;
};

/// Writes a table as CSV, as PLY with the rows as elements "vertex", or as an .npy array of records
/// with a field a column. CSV and PLY carry their provenance when there is one. There is no JSON of
/// it.
void writeTable(OutputFile& out, SampleFormat format, const ColumnTable& table,
                const Provenance& provenance);

} // namespace Stratum::io
