#include "io/npyFile.h"

#include "io/Cancelled.h"
#include "io/byteOrder.h"
#include "io/floatWidths.h"
#include "io/quoted.h"

#include <charconv>
#include <cstdint>
#include <optional>
#include <stdexcept>

namespace Stratum::io {

namespace {

constexpr std::string_view kMagic("\x93NUMPY", 6);

struct Header {
    std::string type;
    std::optional<bool> fortran;
    std::optional<std::vector<std::uint64_t>> shape;
};

// The header is a dictionary as Python writes it: of texts, truth values and tuples of numbers.
class HeaderParser {
public:
    HeaderParser(std::string_view text, const std::string& source) : text_(text), source_(source) {}

    Header parse() {
        Header header;
        expect('{');
        while (!take('}')) {
            const std::string key = readText();
            expect(':');
            if (key == "descr")
                header.type = readText();
            else if (key == "fortran_order")
                header.fortran = readBool();
            else if (key == "shape")
                header.shape = readShape();
            else
                fail(quoted(key) + " is none of descr, fortran_order, shape");
            if (!take(',')) {
                expect('}');
                break;
            }
        }
        if (skipBlank();
            at_ != text_.size() || header.type.empty() || !header.fortran || !header.shape)
            fail("descr, fortran_order and shape are wanted");
        return header;
    }

private:
    [[noreturn]] void fail(const std::string& what) const {
        throw std::runtime_error(source_ + ": its header is damaged: " + what);
    }
    void skipBlank() { at_ = std::min(text_.find_first_not_of(" \t\r\n", at_), text_.size()); }
    bool take(char c) {
        skipBlank();
        const bool is = at_ < text_.size() && text_[at_] == c;
        at_ += is;
        return is;
    }
    void expect(char c) {
        if (!take(c))
            fail(std::string("a '") + c + "' is missing");
    }
    std::string readText() {
        skipBlank();
        const char quote = at_ < text_.size() ? text_[at_] : '\0';
        const auto end =
            quote == '\'' || quote == '"' ? text_.find(quote, at_ + 1) : std::string_view::npos;
        if (end == std::string_view::npos)
            fail("a plain type such as '<f4' is wanted");
        std::string value(text_.substr(at_ + 1, end - at_ - 1));
        at_ = end + 1;
        return value;
    }
    bool readBool() {
        skipBlank();
        for (const bool value : {true, false}) {
            const std::string_view word = value ? "True" : "False";
            if (text_.substr(at_).starts_with(word)) {
                at_ += word.size();
                return value;
            }
        }
        fail("fortran_order must be True or False");
    }
    std::vector<std::uint64_t> readShape() {
        std::vector<std::uint64_t> shape;
        expect('(');
        while (!take(')')) {
            skipBlank();
            std::uint64_t extent = 0;
            const auto [stop, error] =
                std::from_chars(text_.data() + at_, text_.data() + text_.size(), extent);
            if (error != std::errc() || shape.size() == 32)
                fail("the shape must be a tuple of sizes");
            at_ = static_cast<std::size_t>(stop - text_.data());
            shape.push_back(extent);
            if (!take(',')) {
                expect(')');
                break;
            }
        }
        return shape;
    }

    std::string_view text_;
    const std::string& source_;
    std::size_t at_ = 0;
};

// Splits a file into its header's text and its data.
std::pair<std::string_view, std::string_view> split(std::string_view bytes,
                                                    const std::string& source) {
    if (!bytes.starts_with(kMagic) || bytes.size() < 10)
        throw std::runtime_error(source + ": it is no .npy file");
    const int version = static_cast<unsigned char>(bytes[6]);
    if (version < 1 || version > 3)
        throw std::runtime_error(source + ": it is of version " + std::to_string(version) +
                                 " of the format; 1, 2 and 3 can be read");
    const std::size_t start = version == 1 ? 10 : 12;
    const std::size_t size =
        version == 1           ? loadAs<std::uint16_t>(bytes.data() + 8, std::endian::little)
        : bytes.size() < start ? bytes.size()
                               : loadAs<std::uint32_t>(bytes.data() + 8, std::endian::little);
    if (bytes.size() < start || size > bytes.size() - start)
        throw std::runtime_error(source + ": it is cut short within its header");
    return {bytes.substr(start, size), bytes.substr(start + size)};
}

std::string shapeText(const std::vector<std::uint64_t>& shape) {
    std::string text = "(";
    for (const auto extent : shape)
        (text += text.size() > 1 ? ", " : "") += std::to_string(extent);
    text += shape.size() == 1 ? ",)" : ")";
    return text;
}

template <class T>
std::vector<std::array<double, 3>> triples(std::string_view data, std::size_t count,
                                           std::endian order, bool fortran) {
    std::vector<std::array<double, 3>> result(count);
    for (std::size_t row = 0; row < count; ++row)
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::size_t i = fortran ? axis * count + row : 3 * row + axis;
            const T number = loadAs<T>(data.data() + i * sizeof(T), order);
            if constexpr (std::is_same_v<T, float>)
                result[row][axis] = widened(number);
            else
                result[row][axis] = number;
        }
    return result;
}

} // namespace

std::vector<std::array<double, 3>> readNpyTriples(std::string_view bytes,
                                                  const std::string& source) {
    const auto [text, data] = split(bytes, source);
    const Header header = HeaderParser(text, source).parse();
    const bool known = header.type == "<f4" || header.type == ">f4" || header.type == "<f8" ||
                       header.type == ">f8";
    if (!known)
        throw std::runtime_error(source + ": it holds " + quoted(header.type) +
                                 "; '<f4', '>f4', '<f8' and '>f8' can be read");
    const auto& shape = *header.shape;
    if (shape.size() != 2 || shape[1] != 3)
        throw std::runtime_error(source + ": it is of shape " + shapeText(shape) +
                                 "; positions are of shape (N, 3)");
    const std::size_t size = header.type[2] == '4' ? 4 : 8;
    if (shape[0] > data.size() / (3 * size) || shape[0] * 3 * size != data.size())
        throw std::runtime_error(source + ": its shape " + shapeText(shape) + " of '" +
                                 header.type + "' does not fit its " + std::to_string(data.size()) +
                                 " bytes of data");
    const auto order = header.type[0] == '<' ? std::endian::little : std::endian::big;
    return size == 4 ? triples<float>(data, shape[0], order, *header.fortran)
                     : triples<double>(data, shape[0], order, *header.fortran);
}

void writeNpyValues(OutputFile& out, const SampleTable& table) {
    std::vector<std::uint64_t> shape{table.size()};
    if (table.matrixColumnCount > 0)
        shape.push_back(table.componentCount / static_cast<std::size_t>(table.matrixColumnCount));
    if (table.componentCount > 1)
        shape.push_back(table.matrixColumnCount > 0
                            ? static_cast<std::size_t>(table.matrixColumnCount)
                            : table.componentCount);
    std::string text = std::string("{'descr': '") + (table.isDouble ? "<f8" : "<f4") +
                       "', 'fortran_order': False, 'shape': " + shapeText(shape) + ", }";
    // The data begin at a multiple of 64 bytes.
    text.append(63 - (kMagic.size() + 4 + text.size()) % 64, ' ');
    text += '\n';
    std::string start(kMagic);
    start += std::string("\1\0", 2);
    appendAs(start, static_cast<std::uint16_t>(text.size()), std::endian::little);
    out.write(start + text);
    std::string row;
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (i % 4096 == 0)
            throwIfCancelled();
        row.clear();
        table.forEachComponent(
            i, [&](auto component) { appendAs(row, component, std::endian::little); });
        out.write(row);
    }
}

} // namespace Stratum::io
