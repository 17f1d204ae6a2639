// What a person at a terminal sees beside the results.
#pragma once

#include "commonOptions.h"

#include <string>

namespace Stratum::tools {

/// Whether the standard error stream is a terminal that may show colours: not when the environment
/// variable NO_COLOR is set to anything but nothing, nor on a terminal of type "dumb".
bool hasColour();

/// A text in bold and in a colour (31: red, 33: yellow) where colours may be shown.
std::string emphasized(const std::string& text, int colour);

/// A warning, as one line on the standard error stream.
void warn(const std::string& text);

/// A bar on the standard error stream that says how far a command is; silent unless that is a
/// terminal, and with --quiet, --json and -v.
class Progress {
public:
    Progress(const CommonOptions& options, int stepCount);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// The next step begins.
    void step(const std::string& name);

    /// Nothing follows; the bar goes.
    void finish();

private:
    int steps_, done_ = 0;
    bool shown_;
};

} // namespace Stratum::tools
