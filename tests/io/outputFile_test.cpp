// Where files appear, and when.
#include "support/files.h"

#include "io/OutputFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <memory>

namespace {

using namespace Stratum::io;
using namespace Stratum::test;
namespace fs = std::filesystem;

struct Folder {
    Folder() : path(testing::TempDir() + "stratum_out_" + std::to_string(::getpid())) {
        fs::create_directory(path);
    }
    ~Folder() { fs::remove_all(path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string operator/(const std::string& name) const { return (path / name).string(); }
    std::size_t count() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(path), fs::directory_iterator()));
    }
    const fs::path path;
};

void write(const std::string& path, const std::string& text) {
    OutputFile out(path);
    out.write(text);
    out.commit();
}

TEST(OutputFile, AppearsOnlyWhenCommitted) {
    const Folder folder;
    write(folder / "f", "old");
    {
        OutputFile out(folder / "f");
        out.write(std::string(200000, 'x')); // more than is kept back
        EXPECT_EQ(contentOf(folder / "f"), "old");
    }
    EXPECT_EQ(contentOf(folder / "f"), "old");
    EXPECT_EQ(folder.count(), 1U) << "nothing is left behind";
    write(folder / "f", std::string(200000, 'y'));
    EXPECT_EQ(contentOf(folder / "f"), std::string(200000, 'y'));
    EXPECT_EQ(folder.count(), 1U);
}

TEST(OutputFile, TakesNamesAsLongAsTheSystemDoes) {
    const Folder folder;
    std::string umlauts; // two bytes each, so that a cut may fall within one
    while (umlauts.size() < 254)
        umlauts += "\xC3\xA4";
    for (const std::string& name :
         {std::string(255, 'n'), std::string(249, 'n'), umlauts, "n" + umlauts}) {
        write(folder / name, "text");
        EXPECT_EQ(contentOf(folder / name), "text") << name.size();
    }
    EXPECT_EQ(folder.count(), 4U);
    EXPECT_NE(failureOf([&] { write(folder / std::string(256, 'n'), ""); }).find("too long"),
              std::string::npos);
}

TEST(OutputFile, WritesThroughLinks) {
    const Folder folder;
    fs::create_directory(folder.path / "sub");
    fs::create_symlink("sub/target", folder.path / "dangling");
    fs::create_symlink(folder / "dangling", folder.path / "chain");
    for (const char* link : {"dangling", "chain"}) {
        write(folder / link, link);
        EXPECT_EQ(contentOf(folder / "sub/target"), link);
        EXPECT_TRUE(fs::is_symlink(folder.path / link));
    }
    fs::create_symlink("circle", folder.path / "circle");
    fs::create_symlink("nowhere/f", folder.path / "astray");
    EXPECT_NE(failureOf([&] { write(folder / "circle", ""); }).find("symbolic links"),
              std::string::npos);
    EXPECT_NE(failureOf([&] { write(folder / "astray", ""); }).find("No such file"),
              std::string::npos);
    EXPECT_TRUE(fs::is_symlink(folder.path / "astray"));
}

TEST(OutputFile, KeepsTheModeOfWhatItReplaces) {
    const Folder folder;
    const mode_t mask = ::umask(0027);
    write(folder / "new", "");
    ::umask(mask);
    EXPECT_EQ(fs::status(folder / "new").permissions(), fs::perms{0640});
    fs::permissions(folder / "new", fs::perms{0604});
    write(folder / "new", "again");
    EXPECT_EQ(fs::status(folder / "new").permissions(), fs::perms{0604});
}

TEST(OutputFile, SaysWhyNot) {
    const Folder folder;
    const std::pair<std::string, std::string> cases[] = {
        {folder / "no/such", "No such file or directory"},
        {folder.path.string(), "Is a directory"},
        {"/dev/full", "No space left on device"},
    };
    for (const auto& [path, reason] : cases)
        EXPECT_EQ(failureOf([&] { write(path, "text"); }),
                  "cannot write '" + path + "': " + reason);
}

} // namespace
