// What a journal remembers, whatever became of the machine while it was written.
#include "delivery/core/journal.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <fstream>

#include "tests/delivery/core/disk_faults.h"
#include "tests/delivery/core/frames.h"
#include "tests/unit/full_disk.h"

namespace kestra::delivery {
namespace {

using namespace testing_support;

constexpr Command kFast = {0x1B, 0x73, 1, 0, 0, 4, 2};

std::string textOf(const std::string& path) {
  const Bytes bytes = bytesOf(path);
  return {bytes.begin(), bytes.end()};
}

void writeText(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

// A start, two labels, a break that puts the second in doubt, and its second print.
void writeALife(const std::string& path) {
  Journal journal;
  ASSERT_EQ(journal.open(path).problem(), "");
  ASSERT_TRUE(journal.start({0, 17, "label one", "socket://h:9100", "100% paper\n\x7F"}));
  ASSERT_TRUE(journal.closing("aa", kFast));
  ASSERT_TRUE(journal.done("aa"));
  ASSERT_TRUE(journal.closing("bb", kFast));
  ASSERT_TRUE(journal.done("bb"));
  ASSERT_TRUE(journal.lost(2));
  ASSERT_TRUE(journal.again());
  ASSERT_TRUE(journal.closing("bb", kFast));
  ASSERT_TRUE(journal.done("bb"));
  ASSERT_TRUE(journal.rest(Rest::kEnded));
}

TEST(Journal, SaysTheSameWhenItIsOpenedAgain) {
  const Folder folder;
  writeALife(folder / "journal");
  Journal journal;
  ASSERT_EQ(journal.open(folder / "journal").problem(), "");
  const JournalState& state = journal.state();
  EXPECT_EQ(state.digests, (std::vector<std::string>{"aa", "bb"}));
  EXPECT_TRUE(state.doubted.empty());
  EXPECT_EQ(state.came(), 2U);
  EXPECT_EQ(state.rest, Rest::kEnded);
  EXPECT_EQ(state.number, 17);
  EXPECT_EQ(state.queue, "label one");
  EXPECT_EQ(state.device, "socket://h:9100");
  EXPECT_EQ(state.title, "100% paper\n\x7F");
  EXPECT_EQ(state.command, kFast);
}

// The labels done and in doubt behind each line of that life.
TEST(Journal, CutAtAnyByteIsTheJournalOfItsWholeLines) {
  const Folder folder;
  writeALife(folder / "journal");
  const std::string text = textOf(folder / "journal");
  struct Known {
    std::size_t done, doubted;
  };
  const Known wanted[] = {{0, 0}, {0, 0}, {0, 1}, {1, 0}, {1, 1}, {2, 0},
                          {1, 1}, {1, 0}, {1, 1}, {2, 0}, {2, 0}};
  std::size_t lines = 0;
  for (std::size_t size = 0; size <= text.size(); ++size) {
    if (size > 0 && text[size - 1] == '\n') ++lines;
    const JournalState state = readJournal(text.substr(0, size));
    EXPECT_EQ(state.done(), wanted[lines].done) << size;
    EXPECT_EQ(state.doubted.size(), wanted[lines].doubted) << size;
  }
  EXPECT_EQ(lines, 10U);
}

TEST(Journal, GoesOnBehindTheLastWholeLine) {
  const Folder folder;
  writeALife(folder / "journal");
  const std::string text = textOf(folder / "journal");
  for (std::size_t size = 0; size < text.size(); ++size) {
    writeText(folder / "cut", text.substr(0, size));
    Journal journal;
    ASSERT_EQ(journal.open(folder / "cut").problem(), "");
    const std::size_t done = journal.state().done();
    ASSERT_TRUE(journal.again());
    ASSERT_TRUE(journal.done("zz"));
    const JournalState state = readJournal(textOf(folder / "cut"));
    EXPECT_EQ(state.done(), done + 1) << size;
    EXPECT_EQ(state.digests.back(), "zz") << size;
  }
}

TEST(Journal, TakesNoLineThatWasChanged) {
  const Folder folder;
  writeALife(folder / "journal");
  const std::string text = textOf(folder / "journal");
  const std::size_t second = text.find('\n') + 1;
  for (std::size_t at = second; text[at] != '\n'; ++at) {
    std::string other = text;
    other[at] ^= 1;
    EXPECT_EQ(readJournal(other).validBytes, second) << at;
  }
  EXPECT_EQ(readJournal(std::string(100000, '\0')).validBytes, 0U);
  EXPECT_EQ(readJournal("\n\n\n").validBytes, 0U);
}

TEST(Journal, CountsTheStartsThatCameToNothing) {
  Journal journal;
  for (std::size_t tries = 1; tries <= 3; ++tries) {
    ASSERT_TRUE(journal.start({}));
    EXPECT_EQ(journal.state().triesInVain, tries);
    ASSERT_TRUE(journal.rest(Rest::kAgain));
  }
  ASSERT_TRUE(journal.start({}));
  ASSERT_TRUE(journal.done("aa"));
  EXPECT_EQ(journal.state().triesInVain, 1U);  // this start may still come to nothing more
  ASSERT_TRUE(journal.rest(Rest::kLeft));
  EXPECT_EQ(journal.state().triesInVain, 0U);
}

TEST(Journal, ASkippedLabelIsNotSentAndDidNotCome) {
  Journal journal;
  ASSERT_TRUE(journal.closing("aa", kFast));
  ASSERT_TRUE(journal.skip());
  EXPECT_EQ(journal.state().done(), 1U);
  EXPECT_EQ(journal.state().came(), 0U);
  EXPECT_TRUE(journal.state().doubted.empty());
}

TEST(Journal, TakesBackALineThatFoundNoRoom) {
  const Folder folder;
  Journal journal;
  ASSERT_EQ(journal.open(folder / "journal").problem(), "");
  ASSERT_TRUE(journal.reserve());
  ASSERT_TRUE(journal.start({}));
  const std::string before = textOf(folder / "journal");
  {
    const FullDisk disk(before.size() + 5);  // has room for the beginning of the line only
    EXPECT_FALSE(journal.closing("aa", kFast));
  }
  EXPECT_TRUE(journal.state().doubted.empty());
  EXPECT_EQ(textOf(folder / "journal"), before);
  EXPECT_TRUE(journal.closing("aa", kFast));
  EXPECT_EQ(readJournal(textOf(folder / "journal")).doubted.size(), 1U);
}

TEST(Journal, OpensNothingThatSomebodyPlanted) {
  const Folder folder;
  writeText(folder / "theirs", "precious");
  ASSERT_EQ(symlink((folder / "theirs").c_str(), (folder / "journal").c_str()), 0);
  Journal journal;
  EXPECT_NE(journal.open(folder / "journal").problem().find("journal"), std::string::npos);
  EXPECT_EQ(textOf(folder / "theirs"), "precious");
}

// A power cut takes whatever was not flushed: a note that is only written is none.
TEST(Journal, EveryNoteIsOnTheDiskWhenTheCallReturns) {
  const Folder folder;
  const DiskFaults disk;
  writeALife(folder / "journal");
  EXPECT_EQ(disk.flushes, 10);
}

TEST(Journal, WhatTheDiskDidNotTakeIsNotNoted) {
  const Folder folder;
  Journal journal;
  ASSERT_EQ(journal.open(folder / "journal").problem(), "");
  ASSERT_TRUE(journal.closing("aa", kFast));
  const std::string before = textOf(folder / "journal");
  {
    DiskFaults disk;
    disk.goodFlushes = 0;
    EXPECT_FALSE(journal.done("aa"));
  }
  EXPECT_EQ(journal.state().done(), 0U);
  EXPECT_EQ(textOf(folder / "journal"), before);
  EXPECT_TRUE(journal.done("aa"));
  EXPECT_EQ(readJournal(textOf(folder / "journal")).done(), 1U);
}

// A note behind one that nobody knows the end of would not be read again.
TEST(Journal, TakesNoNoteBehindOneThatCannotBeTakenBack) {
  const Folder folder;
  Journal journal;
  ASSERT_EQ(journal.open(folder / "journal").problem(), "");
  {
    DiskFaults disk;
    disk.goodFlushes = 0;
    disk.canCut = false;
    EXPECT_FALSE(journal.closing("aa", kFast));
  }
  EXPECT_FALSE(journal.closing("aa", kFast));
  EXPECT_TRUE(journal.state().doubted.empty());
}

TEST(Journal, SaysBeforeAPageWhetherItsNotesHaveRoom) {
  const Folder folder;
  Journal journal, inMemory;
  ASSERT_EQ(journal.open(folder / "journal").problem(), "");
  DiskFaults disk;
  disk.hasRoom = false;
  EXPECT_FALSE(journal.reserve());
  EXPECT_TRUE(inMemory.reserve());
  disk.hasRoom = true;
  EXPECT_TRUE(journal.reserve());
  disk.hasRoom = false;  // 4,096 bytes are reserved at once, a page needs 512 at most
  for (int pages = 0; pages < 8; ++pages) {  // of 495 bytes
    EXPECT_TRUE(journal.reserve()) << pages;
    ASSERT_TRUE(journal.start({0, 1, "", "", std::string(460, 'x')}));
  }
  EXPECT_FALSE(journal.reserve());
}

TEST(Journal, LostLabelsAreInDoubtInTheirOrderBeforeTheOneThatWasClosing) {
  Journal journal;
  for (const char* one : {"aa", "bb", "cc"}) {
    ASSERT_TRUE(journal.closing(one, kFast));
    if (one != std::string("cc")) {
      ASSERT_TRUE(journal.done(one));
    }
  }
  ASSERT_TRUE(journal.lost(3));  // was never done
  ASSERT_TRUE(journal.lost(0));
  EXPECT_EQ(journal.state().done(), 2U);
  ASSERT_TRUE(journal.lost(2));
  EXPECT_EQ(journal.state().digests, std::vector<std::string>{"aa"});
  EXPECT_EQ(journal.state().doubted, (std::vector<std::string>{"bb", "cc"}));
  ASSERT_TRUE(journal.skip());
  EXPECT_EQ(journal.state().digests, (std::vector<std::string>{"aa", "bb"}));
  EXPECT_EQ(journal.state().doubted, std::vector<std::string>{"cc"});
}

TEST(Journal, ALabelThatWasLeftOutAndIsInDoubtAgainIsNotLeftOut) {
  Journal journal;
  for (const char* one : {"aa", "bb"}) {
    ASSERT_TRUE(journal.closing(one, kFast));
    ASSERT_TRUE(journal.skip());
  }
  EXPECT_EQ(journal.state().skipped, (std::vector<std::size_t>{1, 2}));
  ASSERT_TRUE(journal.lost(2));
  EXPECT_EQ(journal.state().skipped, std::vector<std::size_t>{1});
  ASSERT_TRUE(journal.done("bb"));
  EXPECT_EQ(journal.state().came(), 1U);
}

TEST(Journal, ALabelThatClosesAgainIsInDoubtOnce) {
  Journal journal;
  ASSERT_TRUE(journal.closing("aa", kFast));
  ASSERT_TRUE(journal.closing("aa", kFast));
  EXPECT_EQ(journal.state().doubted, std::vector<std::string>{"aa"});
}

// FNV-1a, 32 bits, as published: offset basis 2166136261, prime 16777619.
std::string lineWith(const std::string& words) {
  std::uint32_t sum = 2166136261U;
  for (const char c : words) sum = (sum ^ static_cast<unsigned char>(c)) * 16777619U;
  char digits[9];
  std::snprintf(digits, sizeof digits, "%08x", sum);
  return std::string(digits) + " " + words + "\n";
}

TEST(Journal, APrintingHasBegunWithItsFirstStart) {
  const JournalState state = readJournal(lineWith("start 1000 0 7 q d t") + lineWith("rest left") +
                                         lineWith("start 2000 50 8 r e u"));
  EXPECT_EQ(state.begun, 1000);
  EXPECT_EQ(state.completed, 50);
  EXPECT_EQ(state.number, 8);
  EXPECT_EQ(state.queue, "r");
  EXPECT_EQ(state.rest, Rest::kNone);
  EXPECT_EQ(readJournal(lineWith("start 1000 0 7 q d t") + "00000000 done aa\n").done(), 0U);
}

}  // namespace
}  // namespace kestra::delivery
