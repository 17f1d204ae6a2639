#include "run/Formula.h"

#include "run/readValue.h"

#include <algorithm>
#include <cmath>

namespace Stratum::tools::graph {

namespace {

using Vantor::Math::double3;

// The product of the coordinates that a word such as "xxz" names.
double monomial(const std::string& coordinates, const double3& p) {
    double product = 1;
    for (const char c : coordinates)
        product *= c == 'x' ? p.x : c == 'y' ? p.y : p.z;
    return product;
}

bool isMonomial(const std::string& name) {
    return name == "1" ||
           (!name.empty() && name.size() <= 3 &&
            name.find_first_not_of("xyz") == std::string::npos && std::ranges::is_sorted(name));
}

double optionalNumber(const Json* json, double otherwise) {
    return json ? readScalar<double>(*json) : otherwise;
}

} // namespace

Formula::Formula(const Json& json, const ReadCoefficient& read) {
    const std::string& name = json.at("formula").text();
    if (name == "constant") {
        json.allowOnly({"formula", "depth", "value"});
        terms_.push_back({read(json.at("value")), [](const double3&) { return 1.0; }});
    } else if (name == "polynomial") {
        json.allowOnly({"formula", "depth", "space", "terms"});
        readPolynomial(json.at("terms"), read);
    } else if (name == "sine") {
        json.allowOnly({"formula", "depth", "space", "amplitude", "wave", "phase"});
        const auto wave = readElement<double3>(json.at("wave"));
        const double phase = optionalNumber(json.find("phase"), 0);
        terms_.push_back({read(json.at("amplitude")), [wave, phase](const double3& p) {
                              return std::sin(wave.x * p.x + wave.y * p.y + wave.z * p.z + phase);
                          }});
    } else if (name == "gaussian") {
        json.allowOnly({"formula", "depth", "space", "amplitude", "centre", "radius"});
        const auto c = readElement<double3>(json.at("centre"));
        const double radius = readScalar<double>(json.at("radius"));
        if (!(radius > 0))
            json.at("radius").fail("a radius above 0 is wanted");
        terms_.push_back({read(json.at("amplitude")), [c, radius](const double3& p) {
                              const double x = p.x - c.x, y = p.y - c.y, z = p.z - c.z;
                              return std::exp(-(x * x + y * y + z * z) / (radius * radius));
                          }});
    } else {
        json.at("formula").fail("there is no formula '" + name +
                                "'; there are: constant, polynomial, sine, gaussian");
    }
}

void Formula::readPolynomial(const Json& terms, const ReadCoefficient& read) {
    for (const auto& [name, coefficient] : terms.record()) {
        if (!isMonomial(name))
            coefficient.fail("a term is 1, or up to three of x, y, z in this order, such as xxz");
        const std::string coordinates = name == "1" ? "" : name;
        terms_.push_back({read(coefficient),
                          [coordinates](const double3& p) { return monomial(coordinates, p); }});
    }
}

void Formula::evaluate(const double3& p, std::span<double> components) const {
    std::ranges::fill(components, 0.0);
    for (const Term& term : terms_) {
        const double factor = term.factor(p);
        for (std::size_t c = 0; c < components.size(); ++c)
            components[c] += term.coefficient[c] * factor;
    }
}

} // namespace Stratum::tools::graph
