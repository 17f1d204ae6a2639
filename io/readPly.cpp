#include "io/Cancelled.h"
#include "io/byteOrder.h"
#include "io/floatWidths.h"
#include "io/parseNumber.h"
#include "io/plyColumns.h"
#include "io/plyFile.h"
#include "io/quoted.h"

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
        return withType(type, [&]<class T>(T) {
            if constexpr (std::is_same_v<T, float>)
                return widened(loadAs<float>(bytes, order_));
            else
                return static_cast<double>(loadAs<T>(bytes, order_));
        });
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
        const auto value = parseNumber<T>(word);
        if (!value)
            fail(quoted(word) + " is no number of the property's type");
        return static_cast<double>(*value);
    }

    std::string_view rest_, line_;
    const std::string& source_;
    std::size_t number_;
};

template <class Numbers>
std::uint64_t listLength(Numbers& numbers, const PlyProperty& property) {
    const double length = numbers.next(property.countType);
    if (length < 0)
        numbers.fail("the list '" + property.name + "' has a negative length");
    return static_cast<std::uint64_t>(length);
}

template <class Numbers>
void readList(Numbers& numbers, const PlyProperty& property, PlyColumn* column) {
    const std::uint64_t length = listLength(numbers, property);
    if (!column)
        return numbers.skip(property.type, length);
    if (length > std::numeric_limits<std::uint32_t>::max())
        numbers.fail("the list '" + property.name + "' is too long");
    for (std::uint64_t i = 0; i < length; ++i)
        column->numbers.push_back(numbers.next(property.type));
    column->lengths.push_back(static_cast<std::uint32_t>(length));
}

// One column a property; null for those that are passed over.
template <class Numbers>
void readElements(Numbers& numbers, const PlyElement& element,
                  const std::vector<PlyColumn*>& columns) {
    for (std::uint64_t i = 0; i < element.count; ++i) {
        if (i % 4096 == 0)
            throwIfInterrupted();
        numbers.beginElement(element, i);
        for (std::size_t p = 0; p < element.properties.size(); ++p) {
            const PlyProperty& property = element.properties[p];
            if (property.isList)
                readList(numbers, property, columns[p]);
            else if (!columns[p])
                numbers.skip(property.type, 1);
            else
                columns[p]->numbers.push_back(numbers.next(property.type));
        }
        numbers.endElement();
    }
}

template <class Numbers>
PlyColumns readAll(Numbers numbers, const PlyHeader& header, const WantsPlyProperty& wants) {
    PlyColumns result;
    for (const PlyElement& element : header.elements) {
        std::vector<PlyColumn*> columns;
        for (const PlyProperty& property : element.properties)
            columns.push_back(wants(element, property) ? &result[{element.name, property.name}]
                                                       : nullptr);
        if (!element.properties.empty())
            readElements(numbers, element, columns);
    }
    numbers.finish();
    return result;
}

} // namespace

PlyColumns readPlyColumns(std::string_view bytes, const std::string& source,
                          const PlyHeader& header, const WantsPlyProperty& wants) {
    if (header.encoding == PlyEncoding::kAscii)
        return readAll(TextNumbers(bytes, source, header), header, wants);
    return readAll(BinaryNumbers(bytes, source, header), header, wants);
}

std::vector<std::vector<double>> readPlyVertices(std::string_view bytes, const std::string& source,
                                                 std::span<const std::string> names) {
    const PlyHeader header = readPlyHeader(bytes, source);
    const auto vertex = std::ranges::find(header.elements, "vertex", &PlyElement::name);
    if (vertex == header.elements.end())
        throw std::runtime_error(source + ": it has no element 'vertex'");
    for (const std::string& name : names) {
        const auto found = std::ranges::find(vertex->properties, name, &PlyProperty::name);
        if (found == vertex->properties.end() || found->isList)
            throw std::runtime_error(source + ": its vertices have no number '" + name + "'");
    }
    PlyColumns columns = readPlyColumns(
        bytes, source, header, [&](const PlyElement& element, const PlyProperty& property) {
            return element.name == "vertex" && std::ranges::count(names, property.name) > 0;
        });
    std::vector<std::vector<double>> values;
    for (const std::string& name : names)
        values.push_back(std::move(columns[{"vertex", name}].numbers));
    return values;
}

} // namespace Stratum::io
