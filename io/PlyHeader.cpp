#include "io/PlyHeader.h"

#include "io/quoted.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <utility>

namespace Stratum::io {

namespace {

using Words = std::vector<std::string_view>;

constexpr std::size_t kLongestLine = 4096;

// Both generations of names are in use.
std::optional<PlyType> typeNamed(std::string_view name) {
    using enum PlyType;
    static constexpr std::array<std::pair<std::string_view, PlyType>, 16> kNames{{
        {"char", kInt8},
        {"int8", kInt8},
        {"uchar", kUint8},
        {"uint8", kUint8},
        {"short", kInt16},
        {"int16", kInt16},
        {"ushort", kUint16},
        {"uint16", kUint16},
        {"int", kInt32},
        {"int32", kInt32},
        {"uint", kUint32},
        {"uint32", kUint32},
        {"float", kFloat},
        {"float32", kFloat},
        {"double", kDouble},
        {"float64", kDouble},
    }};
    for (const auto& [known, type] : kNames)
        if (known == name)
            return type;
    return {};
}

Words wordsOf(std::string_view line) {
    Words words;
    for (;;) {
        const auto first = line.find_first_not_of(" \t");
        if (first == std::string_view::npos)
            return words;
        line.remove_prefix(first);
        const auto length = std::min(line.find_first_of(" \t"), line.size());
        words.push_back(line.substr(0, length));
        line.remove_prefix(length);
    }
}

class Parser {
public:
    Parser(std::string_view bytes, const std::string& source) : bytes_(bytes), source_(source) {}

    PlyHeader parse() {
        if (nextLine() != "ply")
            fail("it is no PLY file: the first line must be 'ply'");
        readFormat(wordsOf(nextLine()));
        for (;;) {
            const std::string_view line = nextLine();
            const Words words = wordsOf(line);
            if (words.empty())
                fail("an empty line in the header");
            else if (words[0] == "comment" || words[0] == "obj_info")
                header_.comments.emplace_back(
                    line.substr(std::min(line.size(), words[0].size() + 1)));
            else if (words[0] == "element")
                readElement(words);
            else if (words[0] == "property")
                readProperty(words);
            else if (words[0] == "end_header" && words.size() == 1)
                break;
            else
                fail(quoted(words[0]) +
                     " is none of comment, obj_info, element, property, end_header");
        }
        header_.size = at_;
        header_.lines = line_;
        checkSizes();
        return std::move(header_);
    }

private:
    [[noreturn]] void fail(const std::string& what) const {
        throw std::runtime_error(source_ + ", line " + std::to_string(line_) + ": " + what);
    }

    std::string_view nextLine() {
        ++line_;
        const auto end = bytes_.substr(at_, kLongestLine).find('\n');
        if (end == std::string_view::npos)
            fail(line_ == 1 ? "it is no PLY file: the first line must be 'ply'"
                            : "the header does not end, or has a line of more than 4096 bytes");
        std::string_view line = bytes_.substr(at_, end);
        at_ += end + 1;
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        return line;
    }

    void readFormat(const Words& words) {
        if (words.size() != 3 || words[0] != "format" || words[2] != "1.0")
            fail("'format ENCODING 1.0' is wanted");
        if (words[1] == "ascii")
            header_.encoding = PlyEncoding::kAscii;
        else if (words[1] == "binary_little_endian")
            header_.encoding = PlyEncoding::kLittleEndian;
        else if (words[1] == "binary_big_endian")
            header_.encoding = PlyEncoding::kBigEndian;
        else
            fail("the encoding is none of ascii, binary_little_endian, binary_big_endian");
    }

    void readElement(const Words& words) {
        PlyElement element;
        if (words.size() != 3)
            fail("'element NAME COUNT' is wanted");
        element.name = words[1];
        const char* end = words[2].data() + words[2].size();
        const auto [stop, error] = std::from_chars(words[2].data(), end, element.count);
        if (error != std::errc() || stop != end)
            fail(quoted(words[2]) + " is no number of elements");
        for (const auto& other : header_.elements)
            if (other.name == element.name)
                fail("there are two elements '" + element.name + "'");
        header_.elements.push_back(std::move(element));
    }

    void readProperty(const Words& words) {
        if (header_.elements.empty())
            fail("a property before the first element");
        PlyProperty property;
        property.isList = words.size() == 5 && words[1] == "list";
        if (words.size() != 3 && !property.isList)
            fail("'property TYPE NAME' or 'property list TYPE TYPE NAME' is wanted");
        property.name = words.back();
        property.type = readType(words[words.size() - 2]);
        if (property.isList) {
            property.countType = readType(words[2]);
            if (!isInteger(property.countType))
                fail("a list's length must be of an integer type");
        }
        auto& properties = header_.elements.back().properties;
        for (const auto& other : properties)
            if (other.name == property.name)
                fail("there are two properties '" + property.name + "' of an element");
        properties.push_back(std::move(property));
    }

    PlyType readType(std::string_view name) const {
        const auto type = typeNamed(name);
        if (!type)
            fail(quoted(name) + " is none of char, uchar, short, ushort, int, uint, float, double");
        return *type;
    }

    // In a text, a number takes a digit and what separates it, but for the last.
    void checkSizes() const {
        std::uint64_t left = bytes_.size() - at_;
        const bool ascii = header_.encoding == PlyEncoding::kAscii;
        if (ascii)
            ++left;
        for (const auto& element : header_.elements) {
            std::uint64_t size = 0;
            for (const auto& property : element.properties)
                size += ascii ? 2 : property.leastSize();
            if (size == 0)
                continue;
            if (element.count > left / size)
                throw std::runtime_error(source_ +
                                         ": it is cut short: " + std::to_string(element.count) +
                                         " of '" + element.name + "' are claimed, more than its " +
                                         std::to_string(bytes_.size()) + " bytes can hold");
            left -= element.count * size;
        }
    }

    std::string_view bytes_;
    const std::string& source_;
    PlyHeader header_;
    std::size_t at_ = 0, line_ = 0;
};

} // namespace

std::size_t sizeOf(PlyType type) {
    static constexpr std::array<std::size_t, 8> kSizes{1, 1, 2, 2, 4, 4, 4, 8};
    return kSizes[static_cast<std::size_t>(type)];
}

bool isInteger(PlyType type) {
    return type != PlyType::kFloat && type != PlyType::kDouble;
}

PlyHeader readPlyHeader(std::string_view bytes, const std::string& source) {
    return Parser(bytes, source).parse();
}

} // namespace Stratum::io
