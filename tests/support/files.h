// Files for tests.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace Stratum::test {

/// A file of this process alone, which goes with this object.
struct TemporaryFile {
    explicit TemporaryFile(const std::string& extension)
        : path(testing::TempDir() + "stratum_" + std::to_string(::getpid()) + extension) {}
    ~TemporaryFile() { std::filesystem::remove(path); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    void put(const std::string& bytes) const { std::ofstream(path, std::ios::binary) << bytes; }
    std::string get() const {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }

    const std::string path;
};

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
