#include "run/ConsoleCapture.h"

#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <system_error>
#include <utility>

namespace Stratum::tools::graph {

namespace {

void flushAll() noexcept {
    std::cout.flush();
    std::cerr.flush();
    std::clog.flush();
    std::fflush(stdout);
    std::fflush(stderr);
}

std::string contents(std::FILE* file) {
    std::string text;
    std::rewind(file);
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file))
        text += static_cast<char>(c);
    return text;
}

} // namespace

ConsoleCapture::ConsoleCapture() {
    flushAll();
    for (Stream& stream : streams_) {
        stream.file.reset(std::tmpfile());
        if (stream.file)
            stream.saved = ::dup(stream.descriptor);
        if (stream.saved < 0 || ::dup2(::fileno(stream.file.get()), stream.descriptor) < 0) {
            const int reason = errno;
            restore();
            throw std::system_error(reason, std::generic_category(),
                                    "cannot catch what operators print");
        }
    }
}

void ConsoleCapture::restore() noexcept {
    flushAll();
    for (Stream& stream : streams_)
        if (stream.saved >= 0) {
            ::dup2(stream.saved, stream.descriptor);
            ::close(std::exchange(stream.saved, -1));
        }
}

ConsoleCapture::Text ConsoleCapture::finish() {
    restore();
    return {contents(streams_[0].file.get()), contents(streams_[1].file.get())};
}

} // namespace Stratum::tools::graph
