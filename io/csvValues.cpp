#include "io/csvValues.h"

#include <array>
#include <charconv>
#include <cmath>

namespace Stratum::io {

template <class Scalar>
void appendNumber(std::string& text, Scalar value) {
    if (std::isnan(value)) {
        text += std::signbit(value) ? "-nan" : "nan";
        return;
    }
    std::array<char, 32> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    text.append(digits.data(), end);
}

template void appendNumber<float>(std::string&, float);
template void appendNumber<double>(std::string&, double);

std::vector<std::string> columnNames(std::string_view name, std::size_t componentCount,
                                     int matrixColumns) {
    std::vector<std::string> names;
    for (std::size_t c = 0; c < componentCount; ++c) {
        std::string column(name);
        if (matrixColumns > 0) {
            const auto columns = static_cast<std::size_t>(matrixColumns);
            column += ".m" + std::to_string(c / columns) + std::to_string(c % columns);
        } else if (componentCount > 1) {
            column += {'.', "xyzw"[c]};
        }
        names.push_back(column);
    }
    return names;
}

} // namespace Stratum::io
