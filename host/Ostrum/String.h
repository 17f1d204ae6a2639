// The host's text.
#pragma once

#include "Ostrum/Export.h"

#include <compare>
#include <ostream>
#include <string>
#include <string_view>

namespace Ostrum {

/// A view of text that somebody else owns.
class OSTRUM_API StringView {
public:
    constexpr StringView() = default;
    constexpr StringView(const char* text) : text_(text) {}
    constexpr StringView(std::string_view text) : text_(text) {}
    constexpr std::string_view view() const { return text_; }
    constexpr auto operator<=>(const StringView&) const = default;

private:
    std::string_view text_;
};

/// Owned, zero-terminated text in UTF-8.
class OSTRUM_API String {
public:
    String() = default;
    String(const char* text) : text_(text) {}
    String(std::string text) : text_(std::move(text)) {}
    explicit String(StringView text) : text_(text.view()) {}
    operator StringView() const { return std::string_view(text_); }

    const char* c_str() const { return text_.c_str(); }
    const std::string& str() const { return text_; }
    std::size_t size() const { return text_.size(); }
    bool empty() const { return text_.empty(); }
    auto operator<=>(const String&) const = default;
    bool operator==(const String&) const = default;

private:
    std::string text_;
};

inline std::ostream& operator<<(std::ostream& out, const String& text) {
    return out << text.str();
}

} // namespace Ostrum
