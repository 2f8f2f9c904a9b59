// kestra-delivery show from outside.
#include <gtest/gtest.h>

#include "tests/delivery/tool/machine.h"

namespace kestra::delivery {
namespace {

using namespace testing_support;

TEST(Show, EveryLabelIsALine) {
  const Machine machine;
  const std::string folder = machine.printing("key");
  Journal journal;
  machine.begin(journal, folder, 45);
  const Bytes frames[] = {frameOf(1), frameOf(2), frameOf(3), frameOf(4)};
  ASSERT_TRUE(noteDone(journal, frames[0]));
  ASSERT_TRUE(journal.closing(digestOf(frames[1]), kUsualCommand) && journal.skip());
  ASSERT_TRUE(journal.closing(digestOf(frames[2]), kUsualCommand));
  for (int i = 0; i < 4; ++i) machine.keep(folder, i + 1, frames[i]);

  const Ran ran = machine.run({"show", "45"});
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(ran.out.rfind("Job 45, queue shop, \"Labels\", to kestra:socket://127.0.0.1:9\n", 0),
            0U)
      << ran.out;
  const std::string rest =
      "; 1 label came, label 3 in doubt\n  journal: " + folder + "/journal\n" +
      "  label 1  came  " + digestOf(frames[0]) + "  kept in frame-4711-000001.dat\n" +
      "  label 2  left out  " + digestOf(frames[1]) + "  kept in frame-4711-000002.dat\n" +
      "  label 3  in doubt  " + digestOf(frames[2]) + "  kept in frame-4711-000003.dat\n" +
      "  label 4  waits  kept in frame-4711-000004.dat\n";
  ASSERT_GE(ran.out.size(), rest.size());
  EXPECT_EQ(ran.out.substr(ran.out.size() - rest.size()), rest);
}

TEST(Show, AllPrintingsAndLeftOverFramesOfANumberAreShown) {
  const Machine machine;
  for (const int generation : {0, 1}) {
    Journal journal;
    machine.begin(journal, machine.printing("key", generation), 45);
    ASSERT_TRUE(journal.rest(Rest::kEnded));
  }
  const std::string left = machine.leave(frameName(1, 45), frameOf(1));
  const Ran ran = machine.run({"show", "45"});
  EXPECT_NE(ran.out.find("  printed once more since; 0 labels came"), std::string::npos) << ran.out;
  EXPECT_NE(ran.out.find("  ended; 0 labels came"), std::string::npos) << ran.out;
  EXPECT_NE(ran.out.find("in printing order:\n  " + left + "  34 bytes\n"), std::string::npos)
      << ran.out;
  const Ran byKey = machine.run({"show", "ke"});
  EXPECT_NE(byKey.out.find("/key/1/journal"), std::string::npos);
}

TEST(Show, AnUnknownJobIsSaid) {
  const Machine machine;
  const Ran ran = machine.run({"show", "\033c45"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err, "kestra-delivery: Nothing is known of a job ?c45\n");
}

}  // namespace
}  // namespace kestra::delivery
