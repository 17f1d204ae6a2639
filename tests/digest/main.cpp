// Prints one number for all that each family of operators gives on fixed inputs, and one for all of
// them: the same on every machine, with every compiler and every width of vectors. With a file of
// such lines as argument it says which lines differ.
#include "support/digest.h"
#include "support/operatorCalls.h"

#include <fstream>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::vector<std::string> digestLines() {
    using namespace StratumTest;
    std::map<std::string, Digest> families;
    for (const OperatorCall& call : everyOperator(3000))
        families[call.family].addEach(call.run(plainly).elements);
    std::vector<std::string> lines;
    const auto addLine = [&](std::uint64_t value, const std::string& name) {
        std::ostringstream line;
        line << std::hex << std::setw(16) << std::setfill('0') << value << ' ' << name;
        lines.push_back(line.str());
    };
    Digest total;
    for (const auto& [name, digest] : families) {
        addLine(digest.value(), name);
        total.add(digest.value());
    }
    addLine(total.value(), "total");
    return lines;
}

} // namespace

int main(int count, char** arguments) {
    std::ifstream recorded;
    if (count > 1)
        recorded.open(arguments[1]);
    bool same = true;
    for (const std::string& line : digestLines()) {
        std::string expected = line;
        if (count > 1 && !std::getline(recorded, expected))
            expected.clear();
        std::cout << line << '\n';
        if (line != expected)
            std::cout << "  recorded: " << expected << '\n';
        same = same && line == expected;
    }
    return same ? 0 : 1;
}
