#include "run/Outputs.h"

#include "commonOptions.h"
#include "io/OutputFile.h"
#include "io/writeTable.h"
#include "run/writeJson.h"

#include <algorithm>
#include <map>
#include <memory>
#include <set>

namespace Stratum::tools::graph {

namespace {

using Vantor::Math::float3;

bool isCsv(const std::string& file) {
    return file.ends_with(".csv");
}

// Positions and one of a node's arrays, side by side.
void writeCsv(io::OutputFile& out, const Json& wish, const Graph& graph) {
    const auto positions = graph.inputs().array<float3>(wish.at("positions"));
    const Outcome& outcome = graph.outcome(wish.at("node").text());
    const Output& output = outcome.outputs.front();
    const auto write = [&]<class A>(const A& array) {
        if constexpr (std::is_same_v<A, std::monostate> || std::is_same_v<A, ObjectPtr> ||
                      std::is_same_v<A, ArrayPtr<std::int64_t>> ||
                      std::is_same_v<A, ArrayPtr<std::uint32_t>> ||
                      std::is_same_v<A, ArrayPtr<bool>> ||
                      std::is_same_v<A, ArrayPtr<Vantor::Geometry::Common::GeoLocation>>) {
            wish.at("node").fail("CSV is written of value types only, and the node has " +
                                 describe(output.data));
        } else {
            if (!array || array->size() != positions->size())
                wish.fail("there are " + std::to_string(positions->size()) + " positions and " +
                          std::to_string(array ? array->size() : 0) + " values");
            const char* column = output.name == "gradients" ? "gradient" : "value";
            io::writeSamples(out, io::SampleFormat::kCsv,
                             io::SampleTable(column, *positions, *array), {});
        }
    };
    std::visit(write, output.data);
}

} // namespace

Outputs::Outputs(const Json* json, const Json& nodes, const Graph& graph)
    : nodes_(nodes), graph_(graph) {
    if (!json) {
        for (const auto& name : graph.results())
            wishes_.push_back({name, name, &nodes.at(name)});
        return;
    }
    for (const auto& [name, wish] : json->record()) {
        wish.allowOnly({"node", "file", "positions"});
        graph.checkReference(wish);
        const Json* file = wish.find("file");
        wishes_.push_back({name, wish.at("node").text(), &wish,
                           file ? graph.inputs().fileName(*file) : std::string()});
        if (file && !isCsv(file->text()) && !file->text().ends_with(".json"))
            file->fail("the name of a .json or a .csv file is wanted");
        const Json* positions = wish.find("positions");
        if (file && isCsv(file->text()) && Inputs::isReference(wish.at("positions")))
            graph.checkReference(*positions);
        else if (positions && !(file && isCsv(file->text())))
            positions->fail("only a .csv file takes positions");
    }
    refuseSameFiles();
}

void Outputs::refuseSameFiles() const {
    std::map<std::filesystem::path, std::string> taken;
    for (const Wish& wish : wishes_) {
        if (wish.file.empty())
            continue;
        const auto [first, isNew] = taken.emplace(fileIdentity(wish.file), wish.place->path());
        if (!isNew)
            wish.place->at("file").fail("this file is written by " + first->second + " already");
    }
}

std::vector<std::string> Outputs::inputFiles() const {
    std::vector<std::string> files;
    for (const auto& [name, node] : nodes_.record())
        if (const Json* file = node.find("file"); file && file->isText() && !file->text().empty())
            files.push_back(graph_.inputs().fileName(*file));
    return files;
}

void Outputs::refuseReplacing(const std::vector<std::string>& others) const {
    std::set<std::filesystem::path> taken;
    for (const auto& other : others)
        if (other != "-")
            taken.insert(fileIdentity(other));
    for (const auto& input : inputFiles())
        taken.insert(fileIdentity(input));
    for (const Wish& wish : wishes_)
        if (!wish.file.empty() && taken.contains(fileIdentity(wish.file)))
            wish.place->at("file").fail("this file is another input or output of the run");
}

bool Outputs::areAllFiles() const {
    const auto hasFile = [](const Wish& wish) { return !wish.file.empty(); };
    return !wishes_.empty() && std::ranges::all_of(wishes_, hasFile);
}

void Outputs::writeFile(io::OutputFile& out, const Wish& wish, const Graph& graph,
                        bool withSeconds) {
    if (isCsv(wish.file))
        writeCsv(out, *wish.place, graph);
    else
        out.write(toJson(graph.outcome(wish.node), withSeconds, *wish.place) + "\n");
}

void Outputs::write(const Graph& graph, bool withSeconds, Results& results) const {
    Members document;
    // No file appears before everything is written that can fail.
    std::vector<std::unique_ptr<io::OutputFile>> files;
    for (const Wish& wish : wishes_)
        if (wish.file.empty()) {
            document[wish.name] = toJson(graph.outcome(wish.node), withSeconds, *wish.place);
        } else {
            files.push_back(std::make_unique<io::OutputFile>(wish.file));
            writeFile(*files.back(), wish, graph, withSeconds);
        }
    for (const auto& file : files)
        file->commit();
    if (areAllFiles())
        return;
    results.out().write(toJson(Members{{"results", toJson(document)}}) + "\n");
    results.commit();
}

} // namespace Stratum::tools::graph
