// Rows of numbers under named columns.
#pragma once

#include "Ostrum/Array.h"
#include "common/Math.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Stratum::io {

/// A truth value, 0 or 1, in files a number of one byte.
enum class Flag : std::uint8_t { kNo, kYes };

/// Numbers that lie so many apart, as the components of an array of vectors do.
template <class T>
struct Strided {
    const T* first = nullptr;
    std::size_t stride = 1;

    T operator[](std::size_t row) const { return first[row * stride]; }
};

/// Columns of one length, each of floating-point or of whole numbers, or of flags.
class ColumnTable {
public:
    using Cells = std::variant<Strided<float>, Strided<double>, Strided<std::uint32_t>,
                               Strided<std::int32_t>, Strided<Flag>>;
    struct Column {
        std::string name; ///< of letters, digits, underscores and points
        Cells cells;
    };

    /// Adds a column, which the table keeps.
    template <class T>
    void add(std::string name, std::vector<T> numbers) {
        const auto kept = std::make_shared<const std::vector<T>>(std::move(numbers));
        rows_ = kept->size();
        columns_.push_back({std::move(name), Strided<T>{kept->data()}});
        kept_.push_back(kept);
    }

    /// Adds a column for each component of an array's values; the array must outlive the table.
    template <class T>
    void addComponents(const std::vector<std::string>& names, const Ostrum::Array<T>& values) {
        using Scalar = Vantor::Math::ScalarOf<T>;
        static_assert(sizeof(T) == Vantor::Math::kComponentCount<T> * sizeof(Scalar));
        rows_ = values.size();
        const auto* numbers = reinterpret_cast<const Scalar*>(values.data());
        for (std::size_t c = 0; c < names.size(); ++c)
            columns_.push_back({names[c], Strided<Scalar>{numbers + c, names.size()}});
    }

    std::size_t rows() const { return rows_; }
    const std::vector<Column>& columns() const { return columns_; }

private:
    std::vector<Column> columns_;
    std::vector<std::shared_ptr<const void>> kept_;
    std::size_t rows_ = 0;
};

} // namespace Stratum::io
