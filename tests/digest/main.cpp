// Prints one number for all that each family of operators gives on fixed inputs, and one for all of
// them: the same on every machine, with every compiler and every width of vectors. With a file of
// such lines as argument it fails unless they are the same.
#include "support/digest.h"
#include "support/operatorCalls.h"

#include <fstream>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>

int main(int count, char** arguments) {
    using namespace StratumTest;
    std::map<std::string, Digest> families;
    Digest total;
    for (const OperatorCall& call : everyOperator(3000))
        families[call.family].add(call.run(plainly).elements);
    std::ostringstream lines, recorded;
    const auto print = [&](const Digest& digest, const std::string& name) {
        lines << std::hex << std::setw(16) << std::setfill('0') << digest.value() << ' ' << name
              << '\n';
    };
    for (const auto& [name, digest] : families) {
        print(digest, name);
        total.add(digest.value());
    }
    print(total, "total");
    std::cout << lines.str();
    if (count > 1)
        recorded << std::ifstream(arguments[1]).rdbuf();
    return count > 1 && lines.str() != recorded.str() ? 1 : 0;
}
