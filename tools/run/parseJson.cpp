#include "run/Json.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>
#include <limits>
#include <set>

namespace Stratum::tools::graph {

namespace {

constexpr std::size_t kDeepest = 64;

// The float nearest to the number that the text gives; `value` is the same as a double.
float roundedFromText(const std::string& text, double value) {
    float rounded = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), rounded).ec == std::errc())
        return rounded;
    // Beyond the largest float or below the smallest.
    const float limit = std::abs(value) > 1 ? std::numeric_limits<float>::infinity() : 0.0F;
    return std::copysign(limit, static_cast<float>(std::copysign(1.0, value)));
}

// "[json.exception.parse_error.101] parse error at ..." without its first word.
std::string withoutLabel(const std::string& message) {
    const auto end = message.find("] ");
    return message.starts_with('[') && end != std::string::npos ? message.substr(end + 2) : message;
}

// Builds the document from the parser's events. `open_` are the containers that are not yet closed:
// each is the last value of the one before, which does not grow meanwhile.
class Builder final : public nlohmann::json_sax<nlohmann::json> {
public:
    explicit Builder(Json& document) : document_(document) {}

    bool null() override { return add(nullptr); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(number_integer_t value) override {
        // The parser calls a number negative by its sign alone, so a zero here is "-0".
        return value == 0 ? add(JsonReal{-0.0, -0.0F}) : add(std::int64_t{value});
    }
    bool number_unsigned(number_unsigned_t value) override {
        if (value <= std::uint64_t{std::numeric_limits<std::int64_t>::max()})
            return add(static_cast<std::int64_t>(value));
        return add(std::uint64_t{value});
    }
    bool number_float(number_float_t value, const string_t& text) override {
        return add(JsonReal{value, roundedFromText(text, value)});
    }
    bool string(string_t& value) override { return add(std::move(value)); }
    bool binary(binary_t&) override { return false; }

    bool start_object(std::size_t) override { return open(Json::Record()); }
    bool key(string_t& value) override {
        key_ = std::move(value);
        return true;
    }
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override { return open(Json::List()); }
    bool end_array() override { return close(); }

    bool parse_error(std::size_t, const std::string&,
                     const nlohmann::json::exception& error) override {
        throw GraphError(withoutLabel(error.what()));
    }

private:
    Json& place(Json::Data value) {
        if (open_.empty()) {
            document_.data = std::move(value);
            return document_;
        }
        if (auto* record = std::get_if<Json::Record>(&open_.back()->data))
            return record->emplace_back(std::move(key_), Json(std::move(value))).second;
        return std::get<Json::List>(open_.back()->data).emplace_back(std::move(value));
    }
    bool add(Json::Data value) {
        place(std::move(value));
        return true;
    }
    bool open(Json::Data value) {
        if (open_.size() == kDeepest)
            throw GraphError("more than " + std::to_string(kDeepest) +
                             " arrays and objects within each other");
        open_.push_back(&place(std::move(value)));
        return true;
    }
    bool close() {
        open_.pop_back();
        return true;
    }

    Json& document_;
    std::vector<Json*> open_;
    std::string key_;
};

// Tells all children their parents, and makes sure that keys stand once.
void link(Json& value) {
    if (auto* list = std::get_if<Json::List>(&value.data))
        for (Json& child : *list) {
            child.parent = &value;
            link(child);
        }
    auto* record = std::get_if<Json::Record>(&value.data);
    if (!record)
        return;
    std::set<std::string_view> keys;
    for (auto& [key, child] : *record) {
        child.parent = &value;
        if (!keys.insert(key).second)
            value.fail("the key '" + key + "' stands twice");
        link(child);
    }
}

} // namespace

void parseJson(std::string_view text, Json& document) {
    Builder builder(document);
    nlohmann::json::sax_parse(text, &builder);
    link(document);
}

} // namespace Stratum::tools::graph
