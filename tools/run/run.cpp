// stratum run: evaluates a graph of nodes.
#include "Results.h"
#include "commands.h"
#include "run/Graph.h"
#include "run/HostSettings.h"
#include "run/Outputs.h"

#include <CLI/App.hpp>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

namespace Stratum::tools {

namespace {

struct RunGraphOptions {
    std::string graph, output = "-";
};

std::string readText(const std::string& path) {
    if (std::filesystem::is_directory(path))
        throw std::runtime_error("cannot read '" + path + "': it is a directory");
    std::ifstream file;
    if (path != "-")
        file.open(path, std::ios::binary);
    std::istream& in = path == "-" ? std::cin : file;
    if (!in)
        throw std::runtime_error("cannot read '" + path + "': " + std::strerror(errno));
    std::ostringstream text;
    text << in.rdbuf();
    return std::move(text).str();
}

void evaluate(const graph::Json& document, const RunGraphOptions& options) {
    document.allowOnly({"$schema", "settings", "nodes", "outputs"});
    const graph::HostSettings settings(document.find("settings"));
    const graph::Json& nodes = document.at("nodes");
    const bool fromStream = options.graph == "-";
    graph::Graph graph(nodes, fromStream ? std::filesystem::path()
                                         : std::filesystem::path(options.graph).parent_path());
    const graph::Outputs outputs(document.find("outputs"), nodes, graph);
    graph.evaluate();
    Results results(options.output);
    outputs.write(graph, settings.withSeconds(), results);
}

void runGraph(const RunGraphOptions& options) {
    const std::string text = readText(options.graph);
    try {
        graph::Json document;
        graph::parseJson(text, document);
        evaluate(document, options);
    } catch (const graph::GraphError& error) {
        throw std::runtime_error((options.graph == "-" ? "standard input" : options.graph) + ": " +
                                 error.what());
    }
}

} // namespace

void addRun(CLI::App& app) {
    auto options = std::make_shared<RunGraphOptions>();
    CLI::App* command = app.add_subcommand("run", "Evaluate a graph of nodes, described in JSON");
    command->add_option("GRAPH", options->graph, "the graph's .json file, - for standard input")
        ->required();
    command
        ->add_option("-o,--output", options->output,
                     "file for the results in JSON, - for standard output")
        ->capture_default_str();
    command->footer("Example: stratum run graph.json -o results.json");
    command->callback([options] { runGraph(*options); });
}

} // namespace Stratum::tools
