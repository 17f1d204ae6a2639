#include "run/Node.h"

namespace Stratum::tools::graph {

bool Inputs::isReference(const Json& json) {
    const Json* node = json.isRecord() ? json.find("node") : nullptr;
    return node && node->isText();
}

const Output& Inputs::output(const Json& reference) const {
    if (!isReference(reference))
        reference.fail("a reference {\"node\": name} is wanted");
    reference.allowOnly({"node", "output"});
    const Outcome& outcome = *find_(reference.at("node").text());
    const Json* name = reference.find("output");
    if (!name)
        return outcome.outputs.front();
    std::string names;
    for (const Output& output : outcome.outputs) {
        if (output.name == name->text())
            return output;
        names += (names.empty() ? "" : ", ") + output.name;
    }
    name->fail("the node has no output '" + name->text() + "'; it has: " + names);
}

ObjectPtr Inputs::object(const Json& reference) const {
    const Data& data = output(reference).data;
    const auto* found = std::get_if<ObjectPtr>(&data);
    if (!found)
        reference.fail("an object is wanted, and the node has " + describe(data));
    return *found;
}

std::string Inputs::fileName(const Json& json) const {
    if (json.text().empty())
        json.fail("the name of a file is wanted");
    if (json.text().find('\0') != std::string::npos)
        json.fail("no file has a name with a NUL in it");
    return (folder_ / json.text()).string();
}

} // namespace Stratum::tools::graph
