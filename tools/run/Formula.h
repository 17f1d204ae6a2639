// Analytic fields, for volumes whose values can be told beforehand.
#pragma once

#include "common/Math.h"
#include "run/Json.h"

#include <functional>
#include <span>
#include <string>
#include <vector>

namespace Stratum::tools::graph {

/// A field with as many components as a coefficient has, in double precision:
///
/// - "constant":   value
/// - "polynomial": the sum of terms, each a coefficient times a product of up to three coordinates
///                 ("1", "x", "xy", "xyz"), in the order in which they are written
/// - "sine":       amplitude sin(wave . p + phase)
/// - "gaussian":   amplitude exp(-|p - centre|^2 / radius^2)
class Formula {
public:
    using Coefficient = std::vector<double>;
    using ReadCoefficient = std::function<Coefficient(const Json&)>;

    Formula(const Json& json, const ReadCoefficient& read);

    void evaluate(const Vantor::Math::double3& p, std::span<double> components) const;

private:
    struct Term {
        Coefficient coefficient;
        std::function<double(const Vantor::Math::double3&)> factor;
    };

    void readPolynomial(const Json& terms, const ReadCoefficient& read);

    std::vector<Term> terms_;
};

} // namespace Stratum::tools::graph
