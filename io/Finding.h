// Whether values are all the same.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace Stratum::io {

/// Compares by bits, so that NaN equals itself.
template <class Value>
bool isSame(const Value& a, const Value& b) {
    return std::memcmp(&a, &b, sizeof(Value)) == 0;
}

/// What is known of values that are looked at one after the other.
template <class Value>
struct Finding {
    Value first{};
    bool isEmpty = true, mixed = false;

    /// False once there is nothing more to learn.
    bool add(const Value& value) {
        if (isEmpty)
            first = value;
        isEmpty = false;
        mixed = mixed || !isSame(first, value);
        return !mixed;
    }
    bool add(const Finding& part) {
        add(part.first);
        mixed = mixed || part.mixed;
        return !mixed;
    }
    bool addMixed() {
        mixed = true;
        return false;
    }
};

/// Whether rows of `Row` values hold one value in a span of each. Whole rows are compared, without
/// a branch, and what lies beside the span does not count: so the loop runs on wide registers.
template <class Value, unsigned Row>
class RowComparison {
    static constexpr std::size_t kWords = sizeof(Value) / sizeof(std::uint32_t);
    static_assert(sizeof(Value) % sizeof(std::uint32_t) == 0);
    using Words = std::array<std::uint32_t, Row * kWords>;

public:
    RowComparison(const Value& value, unsigned first, unsigned last) {
        for (unsigned i = 0; i < Row; ++i) {
            std::memcpy(&wanted_[i * kWords], &value, sizeof(Value));
            std::fill_n(&counts_[i * kWords], kWords, i >= first && i <= last ? ~0U : 0U);
        }
    }

    Value wanted() const {
        Value value;
        std::memcpy(static_cast<void*>(&value), wanted_.data(), sizeof(value));
        return value;
    }

    void add(const Value* row) {
        Words words;
        std::memcpy(words.data(), row, sizeof(words));
        for (std::size_t w = 0; w < words.size(); ++w)
            differing_[w] |= (words[w] ^ wanted_[w]) & counts_[w];
    }

    bool differs() const {
        std::uint32_t any = 0;
        for (const std::uint32_t word : differing_)
            any |= word;
        return any != 0;
    }

private:
    Words wanted_, counts_, differing_{};
};

} // namespace Stratum::io
