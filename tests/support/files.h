// Files for tests.
#pragma once

#include "io/byteOrder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <bit>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <sstream>
#include <stdexcept>
#include <string>

namespace Stratum::test {

inline std::string contentOf(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

/// A file of this process alone, which goes with this object.
struct TemporaryFile {
    explicit TemporaryFile(const std::string& extension)
        : path(testing::TempDir() + "stratum_" + std::to_string(::getpid()) + extension) {}
    ~TemporaryFile() { std::filesystem::remove(path); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    void put(const std::string& bytes) const { std::ofstream(path, std::ios::binary) << bytes; }
    std::string get() const { return contentOf(path); }

    const std::string path;
};

inline constexpr const char* kPlyEncodings[] = {"ascii", "binary_little_endian",
                                                "binary_big_endian"};

/// A PLY file with the lines of a header and, unless it is text, with numbers; else with `text`.
template <class... N>
std::string plyFile(const std::string& encoding, const std::string& eol,
                    std::initializer_list<const char*> header, const std::string& text,
                    N... numbers) {
    std::string file = "ply" + eol + "format " + encoding + " 1.0" + eol;
    for (const char* line : header)
        file += line + eol;
    file += "end_header" + eol;
    if (encoding == "ascii")
        return file + text;
    const auto order = encoding == "binary_big_endian" ? std::endian::big : std::endian::little;
    (io::appendAs(file, numbers, order), ...);
    return file;
}

/// What a call fails with, in the words of its std::runtime_error.
template <class F>
std::string failureOf(const F& f) {
    try {
        f();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no failure";
}

} // namespace Stratum::test
