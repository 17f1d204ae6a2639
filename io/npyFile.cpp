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

// One number of a record.
struct Field {
    std::string name, type;
};

struct Header {
    std::string type;
    std::vector<Field> fields; ///< of an array of records, which has no type of its own
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
            if (key == "descr" && take('['))
                header.fields = readFields();
            else if (key == "descr")
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
        if (skipBlank(); at_ != text_.size() || header.type.empty() == header.fields.empty() ||
                         !header.fortran || !header.shape)
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
    // Up to the closing bracket, each as ('name', 'type').
    std::vector<Field> readFields() {
        std::vector<Field> fields;
        while (!take(']')) {
            Field field;
            expect('(');
            field.name = readText();
            expect(',');
            field.type = readText();
            take(',');
            if (!take(')'))
                fail("field " + quoted(field.name) + " holds more than one number");
            fields.push_back(field);
            if (!take(',')) {
                expect(']');
                break;
            }
        }
        if (fields.empty())
            fail("its records have no fields");
        return fields;
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

std::string shapeText(std::span<const std::uint64_t> shape) {
    std::string text = "(";
    for (const auto extent : shape)
        (text += text.size() > 1 ? ", " : "") += std::to_string(extent);
    text += shape.size() == 1 ? ",)" : ")";
    return text;
}

// One coordinate of all positions: a number every so many bytes.
struct Coordinates {
    std::string type;
    std::size_t offset, stride;
};

bool isFloatType(const std::string& type) {
    return type == "<f4" || type == ">f4" || type == "<f8" || type == ">f8";
}

template <class T>
void readColumn(std::string_view data, const Coordinates& from, std::size_t axis,
                std::vector<std::array<double, 3>>& triples) {
    const auto order = from.type[0] == '<' ? std::endian::little : std::endian::big;
    for (std::size_t row = 0; row < triples.size(); ++row) {
        const T number = loadAs<T>(data.data() + from.offset + row * from.stride, order);
        if constexpr (std::is_same_v<T, float>)
            triples[row][axis] = widened(number);
        else
            triples[row][axis] = number;
    }
}

std::size_t sizeOfType(const std::string& type) {
    return type[2] == '4' ? 4 : 8;
}

// The coordinates in records, by the names x, y and z.
class Records {
public:
    Records(const std::vector<Field>& fields, const std::string& source) {
        for (const Field& field : fields) {
            const std::size_t size = bytes(field.type);
            if (size == 0)
                throw std::runtime_error(source + ": field " + quoted(field.name) +
                                         " is of the type " + quoted(field.type) +
                                         ", which cannot be read");
            for (std::size_t axis = 0; axis < 3; ++axis)
                if (field.name == std::string(1, "xyz"[axis]) && isFloatType(field.type))
                    found_[axis] = {field.type, size_, 0};
            size_ += size;
        }
        for (Coordinates& each : found_) {
            if (each.type.empty())
                throw std::runtime_error(source + ": its records have no fields x, y and z of "
                                                  "floating-point numbers");
            each.stride = size_;
        }
    }
    std::size_t size() const { return size_; }
    const std::array<Coordinates, 3>& coordinates() const { return found_; }

private:
    static bool isOneOf(std::string_view letters, char c) {
        return letters.find(c) != std::string_view::npos;
    }

    // Of a type such as '<f4' or '|u1'; 0 for what is no number.
    static std::size_t bytes(const std::string& type) {
        const bool known = type.size() == 3 && isOneOf("<>|=", type[0]) &&
                           isOneOf("fiub", type[1]) && isOneOf("1248", type[2]);
        return known ? static_cast<std::size_t>(type[2] - '0') : 0;
    }

    std::array<Coordinates, 3> found_{};
    std::size_t size_ = 0;
};

// Where the coordinates are, of a file whose size has been checked.
struct Layout {
    std::size_t count;
    std::array<Coordinates, 3> coordinates;
};

Layout layoutOf(const Header& header, std::size_t bytes, const std::string& source) {
    const auto& shape = *header.shape;
    const bool records = !header.fields.empty();
    if (!records && !isFloatType(header.type))
        throw std::runtime_error(source + ": it holds " + quoted(header.type) +
                                 "; '<f4', '>f4', '<f8' and '>f8' can be read");
    if (records ? shape.size() != 1 : shape.size() != 2 || shape[1] != 3)
        throw std::runtime_error(source + ": it is of shape " + shapeText(shape) +
                                 "; positions are of shape " + (records ? "(N,)" : "(N, 3)"));
    const std::optional<Records> found =
        records ? std::optional<Records>(Records(header.fields, source)) : std::nullopt;
    const std::size_t size = found ? found->size() : 3 * sizeOfType(header.type);
    if (shape[0] > bytes / size || shape[0] * size != bytes)
        throw std::runtime_error(source + ": its shape " + shapeText(shape) + " of " +
                                 (records ? "records" : "'" + header.type + "'") +
                                 " does not fit its " + std::to_string(bytes) + " bytes of data");
    if (found)
        return {shape[0], found->coordinates()};
    Layout layout{shape[0], {}};
    const std::size_t number = sizeOfType(header.type);
    for (std::size_t axis = 0; axis < 3; ++axis)
        layout.coordinates[axis] = *header.fortran
                                       ? Coordinates{header.type, axis * shape[0] * number, number}
                                       : Coordinates{header.type, axis * number, 3 * number};
    return layout;
}

} // namespace

std::vector<std::array<double, 3>> readNpyTriples(std::string_view bytes,
                                                  const std::string& source) {
    const auto [text, data] = split(bytes, source);
    const Layout layout = layoutOf(HeaderParser(text, source).parse(), data.size(), source);
    std::vector<std::array<double, 3>> triples(layout.count);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const Coordinates& from = layout.coordinates[axis];
        if (sizeOfType(from.type) == 4)
            readColumn<float>(data, from, axis, triples);
        else
            readColumn<double>(data, from, axis, triples);
    }
    return triples;
}

std::string npyHeader(const std::string& type, std::span<const std::uint64_t> shape) {
    std::string text =
        "{'descr': " + type + ", 'fortran_order': False, 'shape': " + shapeText(shape) + ", }";
    std::string header(kMagic);
    header += std::string("\1\0", 2);
    // The data begin at a multiple of 64 bytes.
    text.append(63 - (header.size() + 2 + text.size()) % 64, ' ');
    text += '\n';
    appendAs(header, static_cast<std::uint16_t>(text.size()), std::endian::little);
    return header + text;
}

} // namespace Stratum::io
