// What an administrator may write into the settings file, and what else may stand there.
#include "delivery/core/settings.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <vector>

#include "tests/delivery/core/frames.h"

namespace kestra::delivery {
namespace {

using testing_support::Folder;

constexpr std::uint64_t kMega = 1048576;

struct Row {
  const char* text;
  Doubt doubt;
  std::uint64_t imageBytes;
  const char* problem;  // part of the only sentence; empty: there is none
};

const std::vector<Row> kRows = {
    {"", Doubt::kAgain, 256 * kMega, ""},
    {"doubt again", Doubt::kAgain, 256 * kMega, ""},
    {"doubt skip\n", Doubt::kSkip, 256 * kMega, ""},
    {"\n\n  doubt\thold  # look first\r\n", Doubt::kHold, 256 * kMega, ""},
    {"# doubt skip\n#debug-images none", Doubt::kAgain, 256 * kMega, ""},
    {"doubt skip\ndoubt hold\n", Doubt::kHold, 256 * kMega, ""},
    {"debug-images all", Doubt::kAgain, Settings::kAll, ""},
    {"debug-images none", Doubt::kAgain, 0, ""},
    {"debug-images 0 MB", Doubt::kAgain, 0, ""},
    {"debug-images 3 MB", Doubt::kAgain, 3 * kMega, ""},
    {"debug-images 3mb", Doubt::kAgain, 3 * kMega, ""},
    {"debug-images 512 kB", Doubt::kAgain, kMega / 2, ""},
    {"debug-images 2 Gb#", Doubt::kAgain, 2048 * kMega, ""},
    {"debug-images 007 MB", Doubt::kAgain, 7 * kMega, ""},
    {"debug-images 17179869183 GB", Doubt::kAgain, 17179869183 * 1024 * kMega, ""},
    // 2^34 GB are 2^64 bytes: one more than can be counted.
    {"debug-images 17179869184 GB", Doubt::kAgain, 256 * kMega, "Line 1 is left out: \"debug-im"},
    {"debug-images 99999999999999999999999 MB", Doubt::kAgain, 256 * kMega, "KB, MB or GB"},
    {"debug-images -1 MB", Doubt::kAgain, 256 * kMega, "all, none, or a whole number"},
    {"debug-images +1 MB", Doubt::kAgain, 256 * kMega, "whole number"},
    {"debug-images 1.5 GB", Doubt::kAgain, 256 * kMega, "whole number"},
    {"debug-images 256", Doubt::kAgain, 256 * kMega, "KB, MB or GB"},
    {"debug-images MB", Doubt::kAgain, 256 * kMega, "KB, MB or GB"},
    {"debug-images 1 TB", Doubt::kAgain, 256 * kMega, "KB, MB or GB"},
    {"debug-images 1 MB 2", Doubt::kAgain, 256 * kMega, "KB, MB or GB"},
    {"debug-images", Doubt::kAgain, 256 * kMega, "KB, MB or GB"},
    {"doubt maybe", Doubt::kAgain, 256 * kMega, "Line 1 is left out: \"doubt\" can be again, skip"},
    {"doubt", Doubt::kAgain, 256 * kMega, "again, skip or hold"},
    {"doubt skip hold", Doubt::kAgain, 256 * kMega, "again, skip or hold"},
    {"doubt skip\n\n# all well\nspeed 9\n", Doubt::kSkip, 256 * kMega, "Line 4 is left out: there"},
    {"doubts skip", Doubt::kAgain, 256 * kMega, "only the settings \"doubt\" and"},
};

TEST(Settings, EachLineIsReadOrTold) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.text);
    std::string problems;
    const Settings settings = parseSettings(row.text, problems);
    EXPECT_EQ(settings.doubt, row.doubt);
    EXPECT_EQ(settings.imageBytes, row.imageBytes);
    EXPECT_EQ(problems.empty(), std::string(row.problem).empty()) << problems;
    EXPECT_NE(problems.find(row.problem), std::string::npos) << problems;
    EXPECT_EQ(problems.find('\n'), std::string::npos) << problems;
  }
}

TEST(Settings, ALineWithAZeroByteIsWrongAndTheNextOneCounts) {
  std::string problems;
  const Settings settings = parseSettings(std::string("doubt skip\0\ndoubt hold", 22), problems);
  EXPECT_EQ(settings.doubt, Doubt::kHold);
  EXPECT_EQ(problems, "Line 1 is left out: \"doubt\" can be again, skip or hold.");
}

TEST(Settings, ManyWrongLinesAreToldInElevenSentences) {
  std::string problems, text;
  for (int i = 0; i < 5000; ++i) text += "x\n";
  EXPECT_EQ(parseSettings(text + "doubt skip", problems).doubt, Doubt::kSkip);
  EXPECT_EQ(std::count(problems.begin(), problems.end(), '\n'), 10);
  EXPECT_NE(problems.find("So are 4990 more lines."), std::string::npos) << problems;
}

TEST(Settings, WithoutAFileTheUsualOnesHold) {
  const Folder folder;
  std::string problems;
  const Settings settings = readSettings(folder / "none.conf", problems);
  EXPECT_EQ(settings.doubt, Doubt::kAgain);
  EXPECT_EQ(settings.imageBytes, 256 * kMega);
  EXPECT_EQ(problems, "");
}

TEST(Settings, AFileIsRead) {
  const Folder folder;
  std::ofstream(folder / "own.conf") << "debug-images 1 KB\ndoubt skip";
  std::string problems;
  const Settings settings = readSettings(folder / "own.conf", problems);
  EXPECT_EQ(settings.doubt, Doubt::kSkip);
  EXPECT_EQ(settings.imageBytes, 1024U);
  EXPECT_EQ(problems, "");
}

TEST(Settings, OfAHugeFileTheFirst64KbCount) {
  const Folder folder;
  const std::string path = folder / "huge.conf";
  const std::string start = "doubt skip\n#", cut = "doubt hold";
  // The limit falls behind a word that would be right without what follows.
  std::ofstream(path) << start << std::string(65535 - start.size() - cut.size(), '-') << '\n'
                      << cut << "ing\n";
  ASSERT_EQ(truncate(path.c_str(), off_t{100} << 20), 0);
  std::string problems;
  const std::clock_t begin = std::clock();  // of the processor: others may have it meanwhile
  const Settings settings = readSettings(path, problems);
  EXPECT_LT(std::clock() - begin, CLOCKS_PER_SEC);
  EXPECT_EQ(settings.doubt, Doubt::kSkip);
  EXPECT_EQ(settings.imageBytes, 256 * kMega);
  EXPECT_EQ(problems, "The file is longer than 64 KB; the rest is left out.");
}

TEST(Settings, ALinkAFifoAndAFolderAreNotRead) {
  const Folder folder;
  std::ofstream(folder / "real.conf") << "doubt skip\n";
  ASSERT_EQ(symlink((folder / "real.conf").c_str(), (folder / "link.conf").c_str()), 0);
  ASSERT_EQ(mkfifo((folder / "fifo.conf").c_str(), 0600), 0);
  ASSERT_EQ(mkdir((folder / "folder.conf").c_str(), 0700), 0);
  for (const char* name : {"link.conf", "fifo.conf", "folder.conf"}) {
    errno = ENOENT;  // of an earlier call; it must not pass as this file's
    std::string problems;
    EXPECT_EQ(readSettings(folder / name, problems).doubt, Doubt::kAgain) << name;
    EXPECT_NE(problems.find("is not read, the usual settings hold"), std::string::npos) << problems;
  }
}

}  // namespace
}  // namespace kestra::delivery
