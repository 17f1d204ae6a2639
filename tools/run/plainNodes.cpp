// Nodes without an operator: arrays, objects that are no volumes, random numbers and seeds.
#include "common/foldSeed.h"
#include "common/randomUnit.h"
#include "io/sampleFiles.h"
#include "run/nodeTypes.h"
#include "run/readSeeds.h"

#include <limits>

namespace Stratum::tools::graph {

using Vantor::Math::float3;

Outcome evaluateArray(const Json& node, const Inputs& inputs) {
    if (const Json* file = node.find("file")) {
        node.allowOnly({"type", "file"});
        ArrayPtr<float3> positions;
        readingFile(*file, [&] {
            positions =
                Ostrum::makePtr<Ostrum::Array<float3>>(io::readPositions(inputs.fileName(*file)));
        });
        return {{{"values", positions}}};
    }
    node.allowOnly({"type", "value_type", "values", "file"});
    Outcome outcome;
    visitElementType(node.at("value_type"), [&]<class T>(std::type_identity<T>) {
        outcome.outputs.push_back({"values", readArray<T>(node.at("values"))});
    });
    return outcome;
}

Outcome evaluateObject(const Json& node, const Inputs& inputs) {
    node.allowOnly({"type", "components", "properties"});
    auto object = Ostrum::makePtr<Vantor::Object>();
    if (const Json* components = node.find("components"))
        for (const auto& [name, count] : components->record())
            object->addComponent(name, static_cast<std::size_t>(count.integer(
                                           0, std::numeric_limits<std::int64_t>::max())));
    if (const Json* properties = node.find("properties"))
        for (const auto& [name, property] : properties->record()) {
            property.allowOnly({"component", "values"});
            const Ostrum::String component = property.at("component").text();
            const Json& values = property.at("values");
            const auto set = [&, &key = name]<class A>(const A& array) {
                if constexpr (std::is_same_v<A, std::monostate> || std::is_same_v<A, ObjectPtr>)
                    values.fail("an array is wanted");
                else
                    object->setProperty(key, component, array);
            };
            std::visit(set, inputs.output(values).data);
        }
    return {{{"object", object}}};
}

Outcome evaluateRandomUnit(const Json& node, const Inputs& inputs) {
    node.allowOnly({"type", "value_type", "indices", "seed"});
    const auto indices = readBits64Array(node.at("indices"), inputs);
    const auto seed = static_cast<std::uint64_t>(readSeed(node.at("seed"), inputs));
    const auto draw = [&]<class T>(std::type_identity<T>) -> Outcome {
        auto numbers = Ostrum::makePtr<Ostrum::Array<T>>(indices->size(), T());
        for (std::size_t i = 0; i < indices->size(); ++i)
            (*numbers)[i] =
                Vantor::Sample::randomUnit<T>(static_cast<std::uint64_t>((*indices)[i]), seed);
        return {{{"values", numbers}}};
    };
    const Json& type = node.at("value_type");
    if (type.text() == "float")
        return draw(std::type_identity<float>{});
    if (type.text() == "double")
        return draw(std::type_identity<double>{});
    type.fail("there are no random numbers of '" + type.text() + "'; allowed are: float, double");
}

Outcome evaluateFoldSeed(const Json& node, const Inputs& inputs) {
    node.allowOnly({"type", "seed", "seed_array"});
    const auto array = readBits64Array(node.at("seed_array"), inputs);
    const std::vector<long long> more(array->begin(), array->end());
    const std::int64_t folded = Vantor::Sample::foldSeed(readSeed(node.at("seed"), inputs), more);
    return {{{"values",
              Ostrum::makePtr<Ostrum::Array<std::int64_t>>(Ostrum::Array<std::int64_t>{folded})}}};
}

} // namespace Stratum::tools::graph
