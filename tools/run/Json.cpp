#include "run/Json.h"

#include <array>
#include <cstdio>

namespace Stratum::tools::graph {

namespace {

// A key as a step of a JSON pointer (RFC 6901).
std::string escaped(const std::string& key) {
    std::string step;
    for (const char c : key)
        step += c == '~' ? std::string("~0") : c == '/' ? std::string("~1") : std::string(1, c);
    return step;
}

std::string stepTo(const Json& child, const Json& parent) {
    if (parent.isRecord()) {
        for (const auto& [key, value] : std::get<Json::Record>(parent.data))
            if (&value == &child)
                return escaped(key);
    }
    return std::to_string(&child - std::get<Json::List>(parent.data).data());
}

} // namespace

std::string Json::path() const {
    if (!parent)
        return "/";
    const std::string step = stepTo(*this, *parent);
    return parent->parent ? parent->path() + "/" + step : "/" + step;
}

void Json::fail(const std::string& what) const {
    // Names from the document may hold anything, also what would end a C string.
    std::string message;
    for (const char c : path() + ": " + what) {
        std::array<char, 8> escape{};
        if (static_cast<unsigned char>(c) < 0x20)
            std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(c));
        message += escape[0] != '\0' ? escape.data() : std::string(1, c);
    }
    throw GraphError(message);
}

std::string Json::kind() const {
    constexpr const char* kNames[] = {"null",     "true or false", "a number", "a number",
                                      "a number", "a text",        "an array", "an object"};
    return kNames[data.index()];
}

const Json::List& Json::list() const {
    if (!isList())
        fail("an array is wanted, not " + kind());
    return std::get<List>(data);
}

const Json::List& Json::list(std::size_t size) const {
    if (!isList() || std::get<List>(data).size() != size)
        fail("an array of " + std::to_string(size) + " is wanted, not " +
             (isList() ? "one of " + std::to_string(std::get<List>(data).size()) : kind()));
    return std::get<List>(data);
}

const Json::Record& Json::record() const {
    if (!isRecord())
        fail("an object is wanted, not " + kind());
    return std::get<Record>(data);
}

const std::string& Json::text() const {
    if (!isText())
        fail("a text is wanted, not " + kind());
    return std::get<std::string>(data);
}

bool Json::boolean() const {
    if (const bool* value = std::get_if<bool>(&data))
        return *value;
    fail("true or false is wanted, not " + kind());
}

std::int64_t Json::integer(std::int64_t lowest, std::int64_t highest) const {
    if (const auto* value = std::get_if<std::int64_t>(&data))
        if (*value >= lowest && *value <= highest)
            return *value;
    fail("a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest) +
         " is wanted");
}

const Json* Json::find(std::string_view key) const {
    for (const auto& [name, value] : record())
        if (name == key)
            return &value;
    return nullptr;
}

const Json& Json::at(std::string_view key) const {
    if (const Json* found = find(key))
        return *found;
    fail("'" + std::string(key) + "' is missing");
}

void Json::allowOnly(std::initializer_list<std::string_view> keys) const {
    for (const auto& [name, value] : record()) {
        bool known = false;
        for (const auto key : keys)
            known = known || key == name;
        if (!known)
            value.fail("there is no such key; allowed are: " + joined(keys));
    }
}

std::string joined(std::initializer_list<std::string_view> words) {
    std::string text;
    for (const auto word : words)
        text += (text.empty() ? "" : ", ") + std::string(word);
    return text;
}

} // namespace Stratum::tools::graph
