#include "io/writeTable.h"

#include "io/Cancelled.h"
#include "io/byteOrder.h"
#include "io/csvValues.h"
#include "io/jsonText.h"
#include "io/npyFile.h"
#include "io/provenanceJson.h"

#include <algorithm>
#include <array>
#include <bit>

namespace Stratum::io {

namespace {

// What files call the type of a column's numbers.
struct TypeNames {
    const char *ply, *npy;
};

TypeNames typeNames(const ColumnTable::Column& column) {
    constexpr std::array<TypeNames, 5> kNames{
        {{"float", "<f4"}, {"double", "<f8"}, {"uint", "<u4"}, {"int", "<i4"}, {"uchar", "|b1"}}};
    static_assert(std::variant_size_v<ColumnTable::Cells> == kNames.size());
    return kNames[column.cells.index()];
}

// Calls number(n) for the cells of each row and then endRow().
template <class Number, class EndRow>
void forEachRow(const ColumnTable& table, const Number& number, const EndRow& endRow) {
    for (std::size_t row = 0; row < table.rows(); ++row) {
        if (row % 4096 == 0)
            throwIfInterrupted();
        for (const auto& column : table.columns())
            std::visit([&](const auto& cells) { number(cells[row]); }, column.cells);
        endRow();
    }
}

void writeText(OutputFile& out, const ColumnTable& table, char separator) {
    std::string line;
    const auto add = [&]<class T>(T number) {
        if constexpr (std::is_enum_v<T>)
            line += number == Flag::kYes ? '1' : '0';
        else if constexpr (std::is_integral_v<T>)
            line += std::to_string(number);
        else
            appendNumber(line, number);
        line += separator;
    };
    forEachRow(table, add, [&] {
        line.back() = '\n';
        out.write(line);
        line.clear();
    });
}

void writeBinary(OutputFile& out, const ColumnTable& table, std::endian order) {
    std::string row;
    forEachRow(
        table, [&](auto number) { appendAs(row, number, order); },
        [&] {
            out.write(row);
            row.clear();
        });
}

void writeCsv(OutputFile& out, const ColumnTable& table, const Provenance& provenance) {
    if (!provenance.empty())
        for (const auto& line : provenance.lines())
            out.write("# " + line + "\n");
    std::string header;
    for (const auto& column : table.columns())
        header += (header.empty() ? "" : ",") + column.name;
    out.write(header + "\n");
    writeText(out, table, ',');
}

void writePly(OutputFile& out, const char* encoding, const ColumnTable& table,
              const Provenance& provenance) {
    std::string header = std::string("ply\nformat ") + encoding + " 1.0\n";
    if (!provenance.empty())
        for (const auto& line : provenance.lines())
            header += "comment " + line.substr(0, 4000) + "\n";
    header += "element vertex " + std::to_string(table.rows()) + "\n";
    for (const auto& column : table.columns()) {
        std::string name = column.name;
        std::ranges::replace(name, '.', '_'); // many readers know letters and digits only
        header += std::string("property ") + typeNames(column).ply + " " + name + "\n";
    }
    out.write(header + "end_header\n");
}

void writeNpy(OutputFile& out, const ColumnTable& table) {
    std::string records = "[";
    for (const auto& column : table.columns())
        records += "('" + column.name + "', '" + typeNames(column).npy + "'), ";
    out.write(npyHeader(records + "]", std::array<std::uint64_t, 1>{table.rows()}));
    writeBinary(out, table, std::endian::little);
}

void writeJson(OutputFile& out, const ColumnTable& table, const Provenance& provenance) {
    std::string text("{");
    text += provenanceJson(provenance) + ",\n \"columns\": [";
    for (const auto& column : table.columns())
        text += (text.back() == '[' ? "" : ", ") + jsonText(column.name);
    out.write(text + "],\n \"rows\": [");
    text = "\n  [";
    const auto add = [&]<class T>(T number) {
        if constexpr (std::is_enum_v<T>)
            text += number == Flag::kYes ? "true" : "false";
        else if constexpr (std::is_integral_v<T>)
            text += std::to_string(number);
        else
            text += jsonNumber(number);
        text += ", ";
    };
    forEachRow(table, add, [&] {
        text.resize(text.size() - 2);
        out.write(text + "]");
        text = ",\n  [";
    });
    out.write("]}\n");
}

} // namespace

void writeTable(OutputFile& out, SampleFormat format, const ColumnTable& table,
                const Provenance& provenance) {
    switch (format) {
    case SampleFormat::kCsv:
        return writeCsv(out, table, provenance);
    case SampleFormat::kNpy:
        return writeNpy(out, table);
    case SampleFormat::kPly:
        writePly(out, "binary_little_endian", table, provenance);
        return writeBinary(out, table, std::endian::little);
    case SampleFormat::kPlyBigEndian:
        writePly(out, "binary_big_endian", table, provenance);
        return writeBinary(out, table, std::endian::big);
    case SampleFormat::kPlyAscii:
        writePly(out, "ascii", table, provenance);
        return writeText(out, table, ' ');
    case SampleFormat::kJson:
        return writeJson(out, table, provenance);
    }
}

void writeSamples(OutputFile& out, SampleFormat format, const SampleTable& table,
                  const Provenance& provenance) {
    if (format != SampleFormat::kNpy)
        return writeTable(out, format, table.all, provenance);
    const std::string type = typeNames(table.values.columns().front()).npy;
    out.write(npyHeader("'" + type + "'", table.shape));
    writeBinary(out, table.values, std::endian::little);
}

} // namespace Stratum::io
