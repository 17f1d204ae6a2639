// stratum run: evaluates a graph of nodes.
#include "Results.h"
#include "Terminal.h"
#include "commands.h"
#include "commonOptions.h"
#include "io/readFile.h"
#include "run/Graph.h"
#include "run/HostSettings.h"
#include "run/Outputs.h"

#include <CLI/App.hpp>

#include <iostream>
#include <memory>
#include <stdexcept>

namespace Stratum::tools {

namespace {

struct RunGraphOptions {
    CommonOptions common;
    std::string graph, output = "-";
};

void evaluate(const graph::Json& document, const RunGraphOptions& options) {
    document.allowOnly({"$schema", "settings", "nodes", "outputs"});
    const graph::HostSettings settings(document.find("settings"));
    const graph::Json& nodes = document.at("nodes");
    const bool fromStream = options.graph == "-";
    graph::Graph graph(nodes,
                       fromStream ? std::filesystem::path()
                                  : std::filesystem::path(options.graph).parent_path(),
                       options.common.quiet);
    const graph::Outputs outputs(document.find("outputs"), nodes, graph);
    outputs.refuseReplacing({options.graph, options.output});
    refuseReplacing(options.output, outputs.inputFiles());
    if (options.output != "-" && outputs.areAllFiles())
        throw std::runtime_error("'" + options.output +
                                 "' would stay empty: every output has a file of its own");
    {
        Progress progress(options.common, static_cast<int>(nodes.record().size()));
        graph.evaluate([&](const std::string& node) { progress.step(node); });
    }
    Results results(options.output);
    outputs.write(graph, settings.withSeconds(), results);
}

void runGraph(const RunGraphOptions& options) {
    refuseReplacing(options.output, {options.graph});
    const Run run(options.common);
    const std::string text = io::readFile(options.graph);
    try {
        graph::Json document;
        graph::parseJson(text, document);
        evaluate(document, options);
    } catch (const graph::GraphError& error) {
        throw std::runtime_error(io::sourceName(options.graph) + ": " + error.what());
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
    addRunOptions(*command, options->common);
    command->footer("Example: stratum run graph.json -o results.json");
    command->callback([options] { runGraph(*options); });
}

} // namespace Stratum::tools
