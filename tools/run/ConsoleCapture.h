// What a stretch of the program prints.
#pragma once

#include <array>
#include <cstdio>
#include <memory>
#include <string>

namespace Stratum::tools::graph {

/// Catches the standard output and error streams, by their descriptors and so whoever writes to
/// them, until finish() or the end of its life. One at a time.
class ConsoleCapture {
public:
    ConsoleCapture();
    ~ConsoleCapture() { restore(); }
    ConsoleCapture(const ConsoleCapture&) = delete;
    ConsoleCapture& operator=(const ConsoleCapture&) = delete;

    struct Text {
        std::string out, errors;
    };
    Text finish();

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    struct Stream {
        int descriptor;
        int saved = -1;
        std::unique_ptr<std::FILE, Close> file = nullptr;
    };

    void restore() noexcept;

    std::array<Stream, 2> streams_{{{1}, {2}}};
};

} // namespace Stratum::tools::graph
