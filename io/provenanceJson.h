// Where an output comes from, for the head of a JSON document.
#pragma once

#include "io/Provenance.h"
#include "io/jsonText.h"

namespace Stratum::io {

/// The members "stratum", "command" and "inputs", without braces around them.
inline std::string provenanceJson(const Provenance& provenance) {
    std::string text = "\"stratum\": " + jsonText(provenance.version) +
                       ",\n \"command\": " + jsonText(provenance.command) + ",\n \"inputs\": [";
    for (const auto& input : provenance.inputs)
        text += (text.back() == '[' ? "" : ", ") + jsonText(input);
    return text + "]";
}

} // namespace Stratum::io
