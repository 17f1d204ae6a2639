#include "io/Cancelled.h"
#include "io/byteOrder.h"
#include "io/plyFile.h"

#include <array>

namespace Stratum::io {

namespace {

std::string header(PlyEncoding encoding, const SampleTable& table, const Provenance& provenance) {
    static constexpr std::array<const char*, 3> kEncodings{"ascii", "binary_little_endian",
                                                           "binary_big_endian"};
    std::string text =
        std::string("ply\nformat ") + kEncodings[static_cast<std::size_t>(encoding)] + " 1.0\n";
    if (!provenance.empty())
        for (const auto& line : provenance.lines())
            text += "comment " + line.substr(0, 4000) + "\n";
    text += "element vertex " + std::to_string(table.size()) +
            "\nproperty float x\nproperty float y\nproperty float z\n";
    for (std::string column :
         columnNames(table.name, table.componentCount, table.matrixColumnCount)) {
        std::ranges::replace(column, '.', '_'); // many readers know letters and digits only
        text += std::string("property ") + (table.isDouble ? "double " : "float ") + column + "\n";
    }
    return text + "end_header\n";
}

} // namespace

void writePlyValues(OutputFile& out, PlyEncoding encoding, const SampleTable& table,
                    const Provenance& provenance) {
    out.write(header(encoding, table, provenance));
    const auto order = encoding == PlyEncoding::kBigEndian ? std::endian::big : std::endian::little;
    std::string row;
    const auto add = [&]<class T>(T number) {
        if (encoding != PlyEncoding::kAscii)
            return appendAs(row, number, order);
        row += row.empty() ? "" : " ";
        appendNumber(row, number);
    };
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (i % 4096 == 0)
            throwIfInterrupted();
        row.clear();
        for (const float coordinate : Vantor::Math::toComponents(table.positions[i]))
            add(coordinate);
        table.forEachComponent(i, add);
        if (encoding == PlyEncoding::kAscii)
            row += '\n';
        out.write(row);
    }
}

} // namespace Stratum::io
