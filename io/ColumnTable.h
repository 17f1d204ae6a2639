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

/// A truth value, 0 or 1, in files a number of one byte.
enum class Flag : std::uint8_t { kNo, kYes };

/// Columns of one length, each of floating-point or of whole numbers, or of flags.
class ColumnTable {
public:
    using Cells = std::variant<std::vector<float>, std::vector<double>, std::vector<std::uint32_t>,
                               std::vector<std::int32_t>, std::vector<Flag>>;
    struct Column {
        std::string name; ///< of letters, digits, underscores and points
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

/// Writes a table as CSV; as PLY with the rows as elements "vertex", and underscores for points in
/// names; as an .npy array of records with a field a column; or as JSON with a list a row. All but
/// .npy carry their provenance when there is one.
void writeTable(OutputFile& out, SampleFormat format, const ColumnTable& table,
                const Provenance& provenance);

} // namespace Stratum::io
