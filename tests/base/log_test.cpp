// The lines of the log to the byte: scripts read them.
#include "base/log.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>

#include "support/support.h"

namespace tervolanda {
namespace {

using test::CapturedLog;

TEST(Log, WritesALineWhenItsDetailIsBelowTheLevelAndErrorsAlways) {
    CapturedLog captured(/*logLevel=*/2);
    for (const int detail : {0, 1, 2}) {
        captured.log.info(detail, "info %d", detail);
        captured.log.plain(detail, "plain %d", detail);
        captured.log.warn(detail, "warn %d", detail);
        captured.log.error(detail, "error %d", detail);
    }
    EXPECT_EQ(captured.output(), "INFO  : info 0\nplain 0\nINFO  : info 1\nplain 1\n");
    EXPECT_EQ(captured.error(),
              "WARN  : warn 0\nERROR : error 0\nWARN  : warn 1\nERROR : error 1\n"
              "ERROR : error 2\n");
}

TEST(Log, OverwritesAProgressLineAndBlanksOutALongerOne) {
    CapturedLog captured;
    captured.log.progress(0, "12345");
    captured.log.progress(0, "123");
    captured.log.progress(0, "1234567");
    captured.log.info(0, "done");
    const std::string back13(13, '\b');  // the prefix is 8 characters wide
    EXPECT_EQ(captured.output(), "INFO  : 12345" + back13 + "INFO  : 123  " + back13 +
                                     "INFO  : 1234567\nINFO  : done\n");
}

TEST(Log, EndsAProgressLineBeforeAnyOtherLineAndOnlyOnce) {
    CapturedLog captured;
    captured.log.progress(0, "a");
    captured.log.info(1, "too detailed to be written");
    captured.log.error(0, "b");
    captured.log.endProgress();
    captured.log.progress(0, "c");
    captured.report.report(ReportLevel::Results, "d\n");
    EXPECT_EQ(captured.output(), "INFO  : a\nINFO  : c\n");
    EXPECT_EQ(captured.error(), "ERROR : b\n");
    EXPECT_EQ(captured.reported(), "d\n");
}

TEST(Log, SendsEverythingButReportsToTheLogFileAndRewritesNothingThere) {
    test::TemporaryFolder folder;
    CapturedLog captured;
    captured.log.progress(0, "under way");
    captured.streams.useLogFile(FileHandle(std::fopen((folder / "run.log").c_str(), "wb")));
    captured.log.progress(0, "1 of 2");
    captured.log.progress(0, "2 of 2");
    captured.log.error(0, "gone");
    captured.report.report(ReportLevel::Results, "RMSD\n");
    EXPECT_TRUE(captured.streams.flush());
    EXPECT_EQ(test::readFile(folder / "run.log"), "INFO  : 1 of 2\nINFO  : 2 of 2\nERROR : gone\n");
    EXPECT_EQ(captured.output() + captured.error(), "INFO  : under way\n");
    EXPECT_EQ(captured.reported(), "RMSD\n");
}

TEST(Log, HandsAnySinkEachLineWithWhatItIs) {
    std::string text;
    Log log([&text](LogLevel severity, std::string_view line) {
        text += std::to_string(static_cast<int>(severity)) + std::string(prefixOf(severity));
        (text += line) += '|';
    });
    log.progress(0, "%d of %d", 1, 2);
    Report(log, 1).report(ReportLevel::Results, "a %s\n", "b");
    log.error(9, "c");
    log.incompleteFile("d");
    EXPECT_EQ(text,
              "5INFO  : 1 of 2|6a b\n|2ERROR : c|"
              "2ERROR : Failed to write file 'd' - Unknown error.|");
    EXPECT_TRUE(log.hasIncompleteFile());
}

TEST(Log, KeepsTextFromOutsideAndLinesOfAnyLengthWhole) {
    CapturedLog captured;
    const std::string name(10000, '%');
    captured.log.info(0, "File '%s'", name.c_str());
    EXPECT_EQ(captured.output(), "INFO  : File '" + name + "'\n");
}

TEST(FaultReport, CountsWhatIsTooMuchToList) {
    CapturedLog captured;
    FaultReport report(captured.log);
    report.error(FaultReport::kMostLines - 1, "a");
    report.error(UINT64_MAX / 2, "b");
    report.error(1, "c");
    report.finish();
    const std::string lines = captured.error();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), FaultReport::kMostLines + 1);
    EXPECT_TRUE(
        lines.ends_with("ERROR : a\nERROR : b\nERROR : 9223372036854775807 more faults of this "
                        "kind are not listed\n"));
}

TEST(Report, WritesFromItsLevelOn) {
    CapturedLog captured(/*logLevel=*/1, /*reportLevel=*/4);
    captured.report.report(ReportLevel::Numbers, "below ");
    captured.report.report(ReportLevel::Alignment, "reached ");
    captured.report.report(ReportLevel::Passes, "not reached ");
    EXPECT_EQ(captured.reported(), "below reached ");
    EXPECT_TRUE(captured.report.reports(ReportLevel::Alignment));
    EXPECT_FALSE(captured.report.reports(ReportLevel::Passes));
}

TEST(LineStreams, HideControlBytesOnATerminalAndOnlyThere) {
    const int ours = posix_openpt(O_RDWR | O_NOCTTY);
    if (ours < 0 || grantpt(ours) != 0 || unlockpt(ours) != 0) GTEST_SKIP() << "no terminal";
    const test::TemporaryFolder folder;
    {
        const FileHandle terminal(std::fopen(ptsname(ours), "wb"));
        const FileHandle file(std::fopen((folder / "stderr").c_str(), "wb"));
        LineStreams streams(terminal.get(), file.get(), terminal.get());
        streams.write(LogLevel::Progress, "a\bb");
        streams.write(LogLevel::Progress, "c");
        streams.write(LogLevel::Error, "Check: '\x1B[2J\xC3\xA9'");
        streams.write(LogLevel::Info, "x\ny \xC3\xA9");
        streams.write(LogLevel::Report, "\x7F\n");
        LineStreams swapped(file.get(), terminal.get(), file.get());
        swapped.write(LogLevel::Error, "'\a'\n");
        swapped.write(LogLevel::Info, "\a");
        OutputFile result(ptsname(ours));
        result.write("MS\t\x1B\n");
        EXPECT_TRUE(result.commit());
    }
    std::string text;
    std::array<char, 1000> seen{};
    for (ssize_t length = 0; (length = read(ours, seen.data(), seen.size())) > 0;)
        text.append(seen.data(), static_cast<std::size_t>(length));  // it comes in pieces
    close(ours);
    std::erase(text, '\r');  // the terminal's own
    EXPECT_EQ(text, "INFO  : a?b" + std::string(11, '\b') +
                        "INFO  : c  \nINFO  : x?y \xC3\xA9\n?\n" + "ERROR : '?'\n\nMS\t?\n");
    EXPECT_EQ(test::readFile(folder / "stderr"), "ERROR : Check: '\x1B[2J\xC3\xA9'\nINFO  : \a\n");
}

}  // namespace
}  // namespace tervolanda
