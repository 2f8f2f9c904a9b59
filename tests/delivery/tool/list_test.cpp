// kestra-delivery list from outside, and the words for each state.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "delivery/core/lock.h"
#include "delivery/tool/verbs.h"
#include "tests/delivery/tool/machine.h"

namespace kestra::delivery {
namespace {

using namespace testing_support;

TEST(List, NothingThereIsSaid) {
  const Machine machine;
  const Ran ran = machine.run({"list"});
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(ran.out, "Nothing waits, nothing is in doubt, nothing was left over.\n");
  EXPECT_EQ(ran.err, "");
  EXPECT_EQ(machine.run({"list", "--json"}).out, "{\"jobs\":[],\"left_over\":[]}\n");
}

TEST(List, EachJobIsALineOfPlainWords) {
  const Machine machine;
  Journal journal;
  machine.begin(journal, machine.printing("key"), 45, "Tags \033[1m");
  ASSERT_TRUE(noteDone(journal, frameOf(1)) && noteDone(journal, frameOf(2)));
  ASSERT_TRUE(journal.closing(digestOf(frameOf(3)), kUsualCommand) && journal.rest(Rest::kHeld));
  Journal ended;
  machine.begin(ended, machine.printing("other"), 46);
  ASSERT_TRUE(noteDone(ended, frameOf(1)) && ended.rest(Rest::kEnded));
  machine.leave(frameName(1, 7), Bytes(3000, 0), 3 * 86400);
  machine.leave(frameName(2, 7), Bytes(3144, 0), 2 * 86400 + 100);

  const Ran ran = machine.run({"list"});
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(ran.out,
            "Jobs:\n"
            "  job 45, queue shop, \"Tags ?[1m\": 2 labels came, label 3 in doubt; held until "
            "somebody has looked at the printer: lp -i 45 -H resume prints again what is in doubt, "
            "with -o doubt=skip leaves it out, cancel 45 ends the job; just now\n"
            "Left over in the filter's folder:\n"
            "  job 7: 2 page frames, 6 KB; the newest 2 days ago\n");
}

TEST(List, JsonHoldsTheSame) {
  const Machine machine;
  const std::string folder = machine.printing("key");
  Journal journal;
  machine.begin(journal, folder, 45, "a \"b\"");
  ASSERT_TRUE(journal.closing("x", kUsualCommand) && journal.skip());
  ASSERT_TRUE(journal.rest(Rest::kLeft));
  machine.keep(folder, 1, frameOf(1));
  machine.leave(frameName(1, 7), frameOf(1), 50);
  struct stat changed = {}, left = {};
  ASSERT_EQ(stat((folder + "/journal").c_str(), &changed), 0);
  ASSERT_EQ(stat((machine.places().frames + "/" + frameName(1, 7)).c_str(), &left), 0);
  // 22 bytes of headers and 4 rows of 3 bytes.
  EXPECT_EQ(machine.run({"list", "--json"}).out,
            "{\"jobs\":[{\"job\":45,\"key\":\"key\",\"queue\":\"shop\",\"title\":\"a \\\"b\\\"\","
            "\"device\":\"kestra:socket://127.0.0.1:9\",\"came\":0,\"left_out\":[1],"
            "\"in_doubt\":[],\"kept_frames\":1,\"state\":\"left\",\"problem\":\"\",\"changed\":" +
                std::to_string(changed.st_mtime) +
                "}],\"left_over\":[{\"job\":7,\"frames\":1,\"bytes\":34,\"newest\":" +
                std::to_string(left.st_mtime) + "}]}\n");
}

TEST(List, AJobWhoseLockIsTakenIsUnderWayAndItsFramesAreItsOwn) {
  const Machine machine;
  Journal journal;
  machine.begin(journal, machine.printing("key"), 45);
  machine.leave(frameName(1, 45), frameOf(1));
  Lock lock;
  ASSERT_TRUE(lock.open(machine.places().state + "/jobs/key/lock") && lock.take());
  EXPECT_EQ(machine.run({"list"}).out,
            "Jobs:\n  job 45, queue shop, \"Labels\": 0 labels came; under way; just now\n");
}

TEST(List, OriginalsOfKeptFramesAreNotLeftOver) {
  const Machine machine;
  const std::string folder = machine.printing("key");
  Journal journal;
  machine.begin(journal, folder, 45);
  const std::string original = machine.leave(frameName(1, 45), frameOf(1));
  std::filesystem::create_hard_link(original, folder + "/frame-9-000001.dat");
  const Ran ran = machine.run({"list"});
  EXPECT_NE(ran.out.find("cut off; goes on when"), std::string::npos) << ran.out;
  EXPECT_EQ(ran.out.find("Left over"), std::string::npos) << ran.out;
}

TEST(List, EachStateHasItsWords) {
  const std::vector<std::pair<Rest, std::string>> words = {
      {Rest::kNone, "cut-off"},    {Rest::kAgain, "again"}, {Rest::kLeft, "left"},
      {Rest::kStopped, "stopped"}, {Rest::kHeld, "held"},   {Rest::kChanged, "changed"},
      {Rest::kEnded, "ended"}};
  Remembered one;
  for (const auto& [rest, word] : words) {
    one.journal.rest = rest;
    EXPECT_EQ(stateWord(one), word);
    EXPECT_FALSE(stateWords(one).empty());
  }
  one.holder = 4711;
  EXPECT_EQ(stateWord(one), std::string("printing"));
}

TEST(List, AHeldJobSaysByWhichCommandsItGoesOnOrEnds) {
  Remembered one;
  one.journal.number = 45;
  one.journal.rest = Rest::kHeld;
  EXPECT_EQ(stateWords(one),
            "held, as not all its labels could be made: lp -i 45 -H resume tries again, cancel 45 "
            "ends the job");
  one.journal.rest = Rest::kChanged;
  EXPECT_EQ(stateWords(one),
            "held, as its pages were changed: lp -i 45 -H resume prints all labels anew, cancel 45 "
            "ends the job");
}

TEST(List, AFullDeviceBehindStandardOutputIsAFailure) {
  const Machine machine;
  const std::string command =
      std::string(KESTRA_DELIVERY) + " list --root " + machine.root() + " >/dev/full 2>/dev/null";
  const int status = std::system(command.c_str());
  EXPECT_EQ(WEXITSTATUS(status), 1);
}

}  // namespace
}  // namespace kestra::delivery
