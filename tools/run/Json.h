// A JSON document as a graph is read from: numbers keep what their text says, and every value knows
// where it stands.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace Stratum::tools::graph {

/// What is wrong with a graph: one line that begins with the place in the document.
struct GraphError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A number with a fraction or an exponent, or too large for an integer. Both precisions are
/// rounded from the text itself; a float beyond the largest one is infinite.
struct JsonReal {
    double asDouble;
    float asFloat;
};

/// One value of a parsed document. Values point to their parents, so a document stays where it is.
class Json {
public:
    using List = std::vector<Json>;
    using Record = std::vector<std::pair<std::string, Json>>;
    using Data = std::variant<std::nullptr_t, bool, std::int64_t, std::uint64_t, JsonReal,
                              std::string, List, Record>;

    Json() = default;
    explicit Json(Data value) : data(std::move(value)) {}

    /// Throws GraphError, beginning with the value's path.
    [[noreturn]] void fail(const std::string& what) const;

    /// The value's place as a JSON pointer: "/nodes/s/positions/3"; "/" for the whole document.
    std::string path() const;

    bool isNull() const { return std::holds_alternative<std::nullptr_t>(data); }
    bool isText() const { return std::holds_alternative<std::string>(data); }
    bool isList() const { return std::holds_alternative<List>(data); }
    bool isRecord() const { return std::holds_alternative<Record>(data); }

    // What the value must be; each fails with what is wanted otherwise.
    const List& list() const;
    const List& list(std::size_t size) const;
    const Record& record() const;
    const std::string& text() const;
    bool boolean() const;
    /// A whole number of that range, written without fraction and exponent.
    std::int64_t integer(std::int64_t lowest, std::int64_t highest) const;

    /// The member of that name of a record, or null.
    const Json* find(std::string_view key) const;
    /// The same, which must be there.
    const Json& at(std::string_view key) const;

    /// Fails at the first key of a record that is not among these.
    void allowOnly(std::initializer_list<std::string_view> keys) const;

    /// "a number", "an object": what the value is.
    std::string kind() const;

    Data data;
    const Json* parent = nullptr;
};

/// Parses a whole text. The document must not be moved or copied afterwards, and so is handed over
/// by reference. Throws GraphError for what is not JSON, for keys that stand twice in one object
/// and for more than 64 levels.
void parseJson(std::string_view text, Json& document);

/// "a, b, c".
std::string joined(std::initializer_list<std::string_view> words);

} // namespace Stratum::tools::graph
