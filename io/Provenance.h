// Where an output comes from.
#pragma once

#include <string>
#include <vector>

namespace Stratum::io {

struct Provenance {
    std::string version;             ///< of the program
    std::string command;             ///< as it was typed
    std::vector<std::string> inputs; ///< files that were read

    bool empty() const { return version.empty() && command.empty() && inputs.empty(); }

    /// One line each, without control characters, whatever was typed.
    std::vector<std::string> lines() const {
        std::vector<std::string> lines{"stratum " + version, "command " + command};
        for (const auto& input : inputs)
            lines.push_back("input " + input);
        for (auto& line : lines)
            for (char& c : line)
                if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
                    c = ' ';
        return lines;
    }
};

} // namespace Stratum::io
