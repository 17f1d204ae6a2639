#include "io/Cancelled.h"
#include "io/byteOrder.h"
#include "io/plyFile.h"
#include "io/quoted.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace Stratum::io {

namespace {

template <class F>
decltype(auto) withType(PlyType type, const F& f) {
    switch (type) {
    case PlyType::kInt8:
        return f(std::int8_t{});
    case PlyType::kUint8:
        return f(std::uint8_t{});
    case PlyType::kInt16:
        return f(std::int16_t{});
    case PlyType::kUint16:
        return f(std::uint16_t{});
    case PlyType::kInt32:
        return f(std::int32_t{});
    case PlyType::kUint32:
        return f(std::uint32_t{});
    case PlyType::kFloat:
        return f(float{});
    case PlyType::kDouble:
        break;
    }
    return f(double{});
}

// Hands out a binary file's numbers one after the other.
class BinaryNumbers {
public:
    BinaryNumbers(std::string_view bytes, const std::string& source, const PlyHeader& header)
        : bytes_(bytes), source_(source), at_(header.size),
          order_(header.encoding == PlyEncoding::kBigEndian ? std::endian::big
                                                            : std::endian::little) {}

    void beginElement(const PlyElement&, std::uint64_t) {}
    void endElement() {}

    double next(PlyType type) {
        need(sizeOf(type));
        const char* bytes = bytes_.data() + at_;
        at_ += sizeOf(type);
        return withType(type,
                        [&]<class T>(T) { return static_cast<double>(loadAs<T>(bytes, order_)); });
    }

    void skip(PlyType type, std::uint64_t count) {
        need(count, sizeOf(type));
        at_ += count * sizeOf(type);
    }

    void finish() const {
        if (at_ != bytes_.size())
            throw std::runtime_error(source_ + ": " + std::to_string(bytes_.size() - at_) +
                                     " bytes follow the last element that the header claims");
    }

    [[noreturn]] void fail(const std::string& what) const {
        throw std::runtime_error(source_ + ", byte " + std::to_string(at_) + ": " + what);
    }

private:
    void need(std::uint64_t count, std::uint64_t size = 1) const {
        if (count > (bytes_.size() - at_) / size)
            fail("it is cut short");
    }

    std::string_view bytes_;
    const std::string& source_;
    std::size_t at_;
    std::endian order_;
};

// The same for a text, which has one element a line.
class TextNumbers {
public:
    TextNumbers(std::string_view bytes, const std::string& source, const PlyHeader& header)
        : rest_(bytes.substr(header.size)), source_(source), number_(header.lines) {}

    void beginElement(const PlyElement& element, std::uint64_t index) {
        do {
            if (rest_.empty())
                throw std::runtime_error(
                    source_ + ": it is cut short: it holds " + std::to_string(index) + " of " +
                    std::to_string(element.count) + " of '" + element.name + "'");
            ++number_;
            const auto end = std::min(rest_.find('\n'), rest_.size());
            line_ = rest_.substr(0, end);
            rest_.remove_prefix(std::min(end + 1, rest_.size()));
        } while (line_.find_first_not_of(kBlank) == std::string_view::npos);
    }

    void endElement() const {
        if (line_.find_first_not_of(kBlank) != std::string_view::npos)
            fail("there are more numbers than the element has properties");
    }

    double next(PlyType type) {
        const auto first = std::min(line_.find_first_not_of(kBlank), line_.size());
        line_.remove_prefix(first);
        const auto length = std::min(line_.find_first_of(kBlank), line_.size());
        const std::string_view word = line_.substr(0, length);
        line_.remove_prefix(length);
        if (word.empty())
            fail("there are fewer numbers than the element has properties");
        return withType(type, [&]<class T>(T) { return parse<T>(word); });
    }

    void skip(PlyType type, std::uint64_t count) {
        for (std::uint64_t i = 0; i < count; ++i)
            next(type);
    }

    void finish() const {
        if (rest_.find_first_not_of(kBlank) != std::string_view::npos)
            throw std::runtime_error(source_ +
                                     ": lines follow the last element that the header claims");
    }

    [[noreturn]] void fail(const std::string& what) const {
        throw std::runtime_error(source_ + ", line " + std::to_string(number_) + ": " + what);
    }

private:
    static constexpr const char* kBlank = " \t\r\n";

    template <class T>
    double parse(std::string_view word) const {
        T value{};
        const char* end = word.data() + word.size();
        const bool plus = word.size() > 1 && word[0] == '+' && word[1] != '-';
        const auto [stop, error] = std::from_chars(word.data() + plus, end, value);
        // A decimal number below the smallest that the type holds counts as 0.
        const bool tiny = std::is_floating_point_v<T> && error == std::errc::result_out_of_range &&
                          isTiny(word.substr(plus));
        if ((error != std::errc() && !tiny) || stop != end)
            fail(quoted(word) + " is no number of the property's type");
        return static_cast<double>(tiny ? T{} : value);
    }

    static bool isTiny(std::string_view word) {
        const auto exponent = word.find_first_of("eE");
        return exponent != std::string_view::npos && word.substr(exponent + 1).starts_with('-');
    }

    std::string_view rest_, line_;
    const std::string& source_;
    std::size_t number_;
};

// Where each property of "vertex" goes: a column, or nowhere (-1).
std::vector<int> columnsOf(const PlyElement& vertex, std::span<const std::string> names,
                           const std::string& source) {
    std::vector<int> columns(vertex.properties.size(), -1);
    for (std::size_t n = 0; n < names.size(); ++n) {
        const auto found = std::ranges::find(vertex.properties, names[n], &PlyProperty::name);
        if (found == vertex.properties.end() || found->isList)
            throw std::runtime_error(source + ": its vertices have no number '" + names[n] + "'");
        columns[static_cast<std::size_t>(found - vertex.properties.begin())] = static_cast<int>(n);
    }
    return columns;
}

template <class Numbers>
std::uint64_t listLength(Numbers& numbers, const PlyProperty& property) {
    const double length = numbers.next(property.countType);
    if (length < 0)
        numbers.fail("the list '" + property.name + "' has a negative length");
    return static_cast<std::uint64_t>(length);
}

template <class Numbers>
void readElements(Numbers& numbers, const PlyElement& element, const std::vector<int>& columns,
                  std::vector<std::vector<double>>& values) {
    for (std::uint64_t i = 0; i < element.count; ++i) {
        if (i % 4096 == 0)
            throwIfCancelled();
        numbers.beginElement(element, i);
        for (std::size_t p = 0; p < element.properties.size(); ++p) {
            const PlyProperty& property = element.properties[p];
            if (property.isList)
                numbers.skip(property.type, listLength(numbers, property));
            else if (columns.empty() || columns[p] < 0)
                numbers.skip(property.type, 1);
            else
                values[static_cast<std::size_t>(columns[p])].push_back(numbers.next(property.type));
        }
        numbers.endElement();
    }
}

template <class Numbers>
std::vector<std::vector<double>> readAll(Numbers numbers, const PlyHeader& header,
                                         const std::string& source,
                                         std::span<const std::string> names) {
    std::vector<std::vector<double>> values(names.size());
    bool found = false;
    for (const PlyElement& element : header.elements) {
        const bool wanted = element.name == "vertex";
        found = found || wanted;
        std::vector<int> columns;
        if (wanted)
            columns = columnsOf(element, names, source);
        if (!element.properties.empty())
            readElements(numbers, element, columns, values);
    }
    if (!found)
        throw std::runtime_error(source + ": it has no element 'vertex'");
    numbers.finish();
    return values;
}

} // namespace

std::vector<std::vector<double>> readPlyVertices(std::string_view bytes, const std::string& source,
                                                 std::span<const std::string> names) {
    const PlyHeader header = readPlyHeader(bytes, source);
    if (header.encoding == PlyEncoding::kAscii)
        return readAll(TextNumbers(bytes, source, header), header, source, names);
    return readAll(BinaryNumbers(bytes, source, header), header, source, names);
}

} // namespace Stratum::io
