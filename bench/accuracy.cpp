// Measures how accurate the samplers are, in double precision, against analytic fields.
#include "accuracySections.h"

#include <iostream>
#include <string_view>

namespace {

using namespace Stratum::Accuracy;

struct Section {
    std::string_view name;
    bool (*run)(Format);
};
constexpr Section kTables[] = {{"convergence", convergence},
                               {"levels", levelChanges},
                               {"general", generalPath},
                               {"band", narrowBand}};
constexpr char kUsage[] =
    "usage: stratum_accuracy [convergence|levels|general|band|plane] [--csv]\n";

bool run(std::string_view name, Format format, bool& holds) {
    if (name == "plane")
        return holds = plane(format), true;
    bool known = false;
    for (const Section& section : kTables)
        if (name.empty() || name == section.name) {
            holds &= section.run(format);
            known = true;
        }
    return known;
}

} // namespace

int main(int argc, char** argv) {
    std::string_view name;
    Format format = Format::kMarkdown;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--csv")
            format = Format::kCsv;
        else if (name.empty() && !argument.empty())
            name = argument;
        else {
            std::cerr << kUsage;
            return 2;
        }
    }
    bool holds = true;
    if (!run(name, format, holds)) {
        std::cerr << "stratum_accuracy: there is no section '" << name << "'\n" << kUsage;
        return 2;
    }
    return holds ? 0 : 1;
}
