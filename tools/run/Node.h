// A node as the graph evaluates it, and what it leaves behind.
#pragma once

#include "io/Cancelled.h"
#include "run/Data.h"
#include "run/Json.h"
#include "run/readValue.h"

#include <filesystem>
#include <functional>
#include <map>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace Stratum::tools::graph {

/// One array or object that a node offers to others.
struct Output {
    std::string name;
    Data data;
    /// For the out-parameter of an operator: whether it still is what it was before the call.
    std::optional<bool> untouched = {};
};

struct Timer {
    std::uint64_t calls = 0;
    double seconds = 0;
};

/// How an operator call went, as its host saw it.
struct Report {
    std::optional<std::string> exception;
    std::string console, consoleErrors;
    /// "level: message" for each line of the host's log.
    std::vector<std::string> log;
    std::vector<std::string> terminated;
    std::map<std::string, Timer> timers;
};

struct Outcome {
    /// The first one is what a reference without a name means.
    std::vector<Output> outputs;
    /// Of operators only.
    std::optional<Report> report = {};
};

/// What a node sees of the graph while it is evaluated: the outcomes of the nodes it refers to.
/// Wherever an array is wanted, it stands in place or is a reference, {"node": name} or
/// {"node": name, "output": name}.
class Inputs {
public:
    using Find = std::function<const Outcome*(const std::string& node)>;

    /// `folder` is where relative file names start; `quiet` keeps warnings back.
    Inputs(Find find, std::filesystem::path folder, bool quiet)
        : find_(std::move(find)), folder_(std::move(folder)), quiet_(quiet) {}

    static bool isReference(const Json& json);

    /// What a reference refers to.
    const Output& output(const Json& reference) const;
    ObjectPtr object(const Json& reference) const;

    template <class T>
    ArrayPtr<T> array(const Json& json) const {
        if (!isReference(json))
            return readArray<T>(json);
        const Data& data = output(json).data;
        const auto* found = std::get_if<ArrayPtr<T>>(&data);
        if (!found || !*found)
            json.fail("an array of " + elementTypeName<T>() + " is wanted, and the node has " +
                      describe(data));
        return *found;
    }

    std::string fileName(const Json& json) const;

    bool quiet() const { return quiet_; }

private:
    Find find_;
    std::filesystem::path folder_;
    bool quiet_;
};

/// Calls `read()` and lets its failures name the place in the graph, too.
template <class F>
void readingFile(const Json& file, const F& read) {
    try {
        read();
    } catch (const io::Cancelled&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        file.fail(error.what());
    }
}

} // namespace Stratum::tools::graph
