// Runs a target on the files of a folder and on damaged versions of each; the same numbers give the
// same versions. Files that begin with "good" must be accepted.
//
// Usage: PROGRAM FOLDER VERSIONS
#include "fuzz.h"
#include "support/mutations.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <vector>

namespace {

std::string current; // what to name when the process ends within an input

void nameCurrent(int signal) {
    (void)::write(STDERR_FILENO, current.data(), current.size());
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

std::string contentOf(const std::filesystem::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

bool runInTime(const std::string& bytes) {
    const std::clock_t start = std::clock(); // of the processor: machines may be busy
    const bool accepted = Stratum::fuzz::runInput(bytes);
    Stratum::fuzz::require(std::clock() - start < 10 * CLOCKS_PER_SEC,
                           "more than ten seconds for one input");
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    Stratum::fuzz::require(usage.ru_maxrss < 2'000'000, "two gigabytes for one input");
    return accepted;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3)
        return std::cerr << "usage: " << argv[0] << " FOLDER VERSIONS\n", 2;
    for (const int signal : {SIGABRT, SIGSEGV, SIGFPE, SIGILL, SIGBUS})
        std::signal(signal, nameCurrent);
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1]))
        files.push_back(entry.path());
    Stratum::fuzz::require(!files.empty(), "an empty folder");
    std::ranges::sort(files);
    int accepted = 0, refused = 0;
    for (const auto& file : files) {
        const std::string name = file.filename(), good = contentOf(file);
        current = "\nwhile at " + name + "\n";
        Stratum::fuzz::require(runInTime(good) || !name.starts_with("good"), "a good file refused");
        for (int seed = 0; seed < std::atoi(argv[2]); ++seed) {
            current = "\nwhile at " + name + ", version " + std::to_string(seed) + "\n";
            // The first byte says what kind of input it is.
            const auto version =
                Stratum::test::Mutator(static_cast<std::uint32_t>(seed)).damaged(good.substr(1));
            ++(runInTime(good[0] + version) ? accepted : refused);
        }
    }
    // Targets may close the standard streams.
    std::printf("%zu files; of their versions %d were accepted and %d refused\n", files.size(),
                accepted, refused);
}
