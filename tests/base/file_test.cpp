#include "base/file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "support/support.h"

namespace tervolanda::test {
namespace {

std::vector<std::string> linesOf(const std::string& text, std::size_t limit) {
    const TemporaryFolder folder;
    const FileHandle file = openForReading(folder.write("text", text));
    LineReader reader(file.get());
    std::vector<std::string> lines;
    while (const auto line = reader.next(limit))
        lines.emplace_back(*line);
    return lines;
}

TEST(LineReader, KeepsLineEndsAndCutsLongLines) {
    using Lines = std::vector<std::string>;
    EXPECT_EQ(linesOf("", LineReader::kNoLimit), Lines{});
    EXPECT_EQ(linesOf("a\n\nb", LineReader::kNoLimit), (Lines{"a\n", "\n", "b"}));
    EXPECT_EQ(linesOf("abcd\nef\n", 4), (Lines{"abcd", "\n", "ef\n"}));
    EXPECT_EQ(linesOf(std::string("a\0b\n", 4), 80), (Lines{std::string("a\0b\n", 4)}));
    const std::string longLine(300000, 'x');
    EXPECT_EQ(linesOf(longLine + "\ny\n", LineReader::kNoLimit), (Lines{longLine + "\n", "y\n"}));
}

TEST(OpenForReading, RefusesDirectories) {
    const TemporaryFolder folder;
    EXPECT_FALSE(openForReading(folder.path().string()));
    EXPECT_FALSE(openForReading(folder / "absent"));
}

TEST(OutputFile, ReplacesTheOldVersionOnlyWhenComplete) {
    const TemporaryFolder folder;
    const std::string path = folder.write("result", "old");
    {
        OutputFile file(path);
        file.write("half of the new");
    }
    EXPECT_EQ(readFile(path), "old");
    {
        OutputFile file(path);
        file.print("%s %d", "new", 1);
        EXPECT_EQ(readFile(path), "old");
        EXPECT_TRUE(file.commit());
    }
    EXPECT_EQ(readFile(path), "new 1");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

unsigned modeOf(const std::string& path) {
    struct stat status {};
    stat(path.c_str(), &status);
    return status.st_mode & 0777U;
}

TEST(OutputFile, KeepsTheModeOfTheOldVersionAndCanBeMadeExecutable) {
    const TemporaryFolder folder;
    const std::string path = folder.write("result", "old");
    chmod(path.c_str(), 0640);
    OutputFile(path).commit();
    EXPECT_EQ(modeOf(path), 0640U);
    OutputFile script(path);
    EXPECT_EQ(script.makeExecutable(), 0);
    script.commit();
    EXPECT_EQ(modeOf(path), 0755U);
}

TEST(OutputFile, WritesThroughLinksAndToDevices) {
    const TemporaryFolder folder;
    const std::string target = folder.write("target", "old");
    std::filesystem::create_symlink("target", folder / "link");
    OutputFile link(folder / "link");
    link.write("new");
    chmod(target.c_str(), 0600);
    EXPECT_EQ(link.makeExecutable(), 0);
    EXPECT_TRUE(link.commit());
    EXPECT_EQ(readFile(target), "new");
    EXPECT_EQ(modeOf(target), 0600U);  // whose mode is not ours to change
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
    OutputFile full("/dev/full");
    ASSERT_TRUE(full.isOpen());
    full.write("text");
    EXPECT_FALSE(full.commit());
    EXPECT_FALSE(OutputFile(folder / "absent/result").isOpen());
    EXPECT_FALSE(OutputFile("").isOpen());
    EXPECT_FALSE(OutputFile(folder.path().string()).isOpen());
}

}  // namespace
}  // namespace tervolanda::test
