// What journals and kept frames say of a job.
#include "delivery/tool/remembered.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "delivery/tool/verbs.h"
#include "tests/delivery/tool/machine.h"

namespace kestra::delivery {
namespace {

using namespace testing_support;
using Numbers = std::vector<std::size_t>;

TEST(Remembered, LabelsAreCountedByWhatBecameOfThem) {
  const Machine machine;
  const std::string folder = machine.printing("key");
  Journal journal;
  machine.begin(journal, folder, 45);
  const Bytes frames[] = {frameOf(1), frameOf(2), frameOf(3), frameOf(4), frameOf(5)};
  ASSERT_TRUE(noteDone(journal, frames[0]));
  ASSERT_TRUE(journal.closing(digestOf(frames[1]), kUsualCommand) && journal.skip());
  for (int i = 2; i < 5; ++i) ASSERT_TRUE(noteDone(journal, frames[i]));
  ASSERT_TRUE(journal.lost(4));  // labels 4 and 5 are in doubt again
  machine.keep(folder, 2, frames[1]);
  machine.keep(folder, 1, frames[0]);

  const std::vector<Remembered> all = rememberedJobs(machine.places().state);
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].key, "key");
  EXPECT_TRUE(all[0].isLast);
  EXPECT_EQ(all[0].journal.number, 45);
  EXPECT_EQ(all[0].journal.came(), 2U);
  EXPECT_EQ(all[0].journal.skipped, Numbers{2});
  EXPECT_EQ(all[0].inDoubt(), (Numbers{4, 5}));
  EXPECT_EQ(all[0].problem, "");
  EXPECT_EQ(all[0].holder, 0);
  ASSERT_EQ(all[0].kept.size(), 2U);
  EXPECT_EQ(all[0].kept[0], folder + "/frame-4711-000001.dat");
}

TEST(Remembered, TheDoubtBehindALabelThatWasLeftOutIsNotCountedTwice) {
  const Machine machine;
  const std::string folder = machine.printing("key");
  Journal journal;
  machine.begin(journal, folder, 45);
  ASSERT_TRUE(journal.closing("a", kUsualCommand) && journal.skip());
  ASSERT_TRUE(journal.closing("b", kUsualCommand) && journal.done("b"));
  ASSERT_TRUE(journal.lost(1));  // the one left out is in doubt once more
  const Remembered one = rememberedJobs(machine.places().state).at(0);
  EXPECT_EQ(one.journal.skipped, Numbers{});
  EXPECT_EQ(one.inDoubt(), (Numbers{1, 2}));
  EXPECT_EQ(one.journal.came(), 0U);
}

TEST(Remembered, PrintingsOfAJobComeByNumberAndTheLastIsMarked) {
  const Machine machine;
  for (const int generation : {10, 2, 0}) {
    Journal journal;
    machine.begin(journal, machine.printing("b", generation), 7);
  }
  Journal journal;
  machine.begin(journal, machine.printing("a"), 8);
  std::string text;
  for (const Remembered& one : rememberedJobs(machine.places().state)) {
    text += one.key + std::to_string(one.generation) + (one.isLast ? "! " : " ");
  }
  EXPECT_EQ(text, "a0! b0 b2 b10! ");
}

TEST(Remembered, AJournalThatIsCutTellsHowFarItIsWhole) {
  const Machine machine;
  const std::string folder = machine.printing("key");
  Journal journal;
  machine.begin(journal, folder, 45);
  ASSERT_TRUE(noteDone(journal, frameOf(1)));
  const auto whole = std::filesystem::file_size(folder + "/journal");
  std::ofstream(folder + "/journal", std::ios::app) << "0badbad0 done x\nmore";
  const Remembered one = rememberedJobs(machine.places().state).at(0);
  EXPECT_EQ(one.journal.came(), 1U);
  EXPECT_EQ(one.problem, "its journal is whole up to byte " + std::to_string(whole));
}

TEST(Remembered, WithoutAStateFolderThereIsNothing) {
  EXPECT_TRUE(rememberedJobs("/nonexistent/state").empty());
}

TEST(Remembered, WaitingAreThoseNotAtTheirEndAndThoseWithLabelsLeftOut) {
  std::vector<Remembered> all(5);
  for (std::size_t i = 0; i < all.size(); ++i) {
    all[i].key = std::string(1, static_cast<char>('a' + i));
    all[i].isLast = true;
    all[i].journal.rest = Rest::kEnded;
    all[i].journal.begun = 100 - static_cast<long long>(i);
  }
  all[1].journal.rest = Rest::kHeld;
  all[2].journal.skipped = {3};
  all[3].holder = 4711;  // started once more
  all[4].journal.rest = Rest::kHeld;
  all[4].isLast = false;
  std::string keys;
  for (const Remembered& one : waitingJobs(all)) keys += one.key;
  EXPECT_EQ(keys, "dcb");  // the oldest first
}

}  // namespace
}  // namespace kestra::delivery
