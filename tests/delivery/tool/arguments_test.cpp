// Command lines that make sense, and what is said to those that do not.
#include "delivery/tool/arguments.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/delivery/tool/machine.h"

namespace kestra::delivery {
namespace {

using Words = std::vector<std::string>;

Arguments good(const Words& words) {
  const Result<Arguments> arguments = parseArguments(words);
  EXPECT_TRUE(arguments) << arguments.problem();
  return arguments ? *arguments : Arguments();
}

TEST(ToolArguments, VerbsAndOptionsComeInAnyOrder) {
  const Arguments list = good({"--json", "--root", "/srv/shop", "list"});
  EXPECT_EQ(list.verb, Verb::kList);
  EXPECT_TRUE(list.isJson);
  EXPECT_EQ(list.root, "/srv/shop");
  const Arguments forget = good({"forget", "--frames", "45"});
  EXPECT_EQ(forget.verb, Verb::kForget);
  EXPECT_TRUE(forget.withFrames);
  EXPECT_EQ(forget.job, "45");
  EXPECT_FALSE(good({"forget", "45"}).withFrames);
  EXPECT_EQ(good({"show", "--", "-x"}).job, "-x");
}

TEST(ToolArguments, HelpAndVersionNeedNothingElse) {
  EXPECT_EQ(good({"--help"}).verb, Verb::kHelp);
  EXPECT_EQ(good({"send", "--help"}).verb, Verb::kHelp);
  EXPECT_EQ(good({"--version", "--nonsense"}).verb, Verb::kVersion);
}

TEST(ToolArguments, AWordWithASlashOrADotIsAFrameAnyOtherAJob) {
  const Arguments job = good({"send", "45", "-"});
  EXPECT_EQ(job.job, "45");
  EXPECT_TRUE(job.frames.empty());
  EXPECT_EQ(job.target, "-");
  const Arguments frame = good({"send", "a.dat", "unix:x"});
  EXPECT_EQ(frame.job, "");
  EXPECT_EQ(frame.frames, Words{"a.dat"});
  EXPECT_EQ(good({"send", "./45", "-"}).frames, Words{"./45"});
  const Arguments frames = good({"send", "2.dat", "1", "out.prn"});
  EXPECT_EQ(frames.frames, (Words{"2.dat", "1"}));
  EXPECT_EQ(frames.target, "out.prn");
}

TEST(ToolArguments, OptionsOfSendSetTheCommand) {
  const Arguments usual = good({"send", "45", "-"});
  EXPECT_EQ(chosenCommand(usual, kUsualCommand), kUsualCommand);
  EXPECT_FALSE(usual.wait);
  EXPECT_EQ(usual.doubt, Doubt::kAgain);

  const Arguments own = good({"send", "45", "-", "--speed=6", "--darkness", "Dark", "--doubt",
                              "skip", "--wait", "0", "--all", "-v"});
  EXPECT_EQ(chosenCommand(own, kUsualCommand), (Command{0x1B, 0x73, 1, 0, 0, 4, 2}));
  EXPECT_EQ(own.doubt, Doubt::kSkip);
  EXPECT_EQ(own.wait, 0);
  EXPECT_TRUE(own.sendsAll);
  EXPECT_TRUE(own.isVerbose);
  const Arguments slow = good({"send", "45", "-", "--speed", "2", "--darkness=Light"});
  EXPECT_EQ(chosenCommand(slow, kUsualCommand), (Command{0x1B, 0x73, 1, 0, 0, 0, 0}));
  // What is not chosen stays as the job had it.
  EXPECT_EQ(
      chosenCommand(good({"send", "45", "-", "--darkness=Middle"}), {0x1B, 0x73, 1, 0, 0, 3, 0}),
      (Command{0x1B, 0x73, 1, 0, 0, 3, 1}));
}

struct Wrong {
  Words words;
  const char* problem;  // part of it
};

TEST(ToolArguments, WrongLinesAreToldInOneSentence) {
  const std::vector<Wrong> wrong = {
      {{}, "list, show, send or forget"},
      {{"lists"}, "\"lists\" is not list"},
      {{"\033[2J"}, "\"?[2J\" is not list"},
      {{"list", "45"}, "list needs no other words"},
      {{"show"}, "show needs one job"},
      {{"show", "1", "2"}, "show needs one job"},
      {{"forget"}, "forget needs one job"},
      {{"send"}, "send needs page frames or a job, and where to"},
      {{"send", "45"}, "send needs page frames or a job, and where to"},
      {{"list", "--frames"}, "--frames is for forget"},
      {{"forget", "45", "--json"}, "--json is for list"},
      {{"show", "45", "--speed", "4"}, "--speed is for send"},
      {{"list", "--json=1"}, "--json has no value"},
      {{"list", "--quick"}, "There is no option --quick"},
      {{"list", "-x"}, "There is no option -x"},
      {{"send", "45", "-", "--speed"}, "--speed needs a value"},
      {{"send", "45", "-", "--speed", "1"}, "from 2 (slow) to 6, not \"1\""},
      {{"send", "45", "-", "--speed", "7"}, "from 2 (slow) to 6"},
      {{"send", "45", "-", "--speed", "-3"}, "from 2 (slow) to 6"},
      {{"send", "45", "-", "--speed", "4294967298"}, "from 2 (slow) to 6"},
      {{"send", "45", "-", "--speed", ""}, "from 2 (slow) to 6"},
      {{"send", "45", "-", "--darkness", "dark"}, "Light, Middle or Dark, not \"dark\""},
      {{"send", "45", "-", "--doubt", "hold"}, "again or skip"},
      {{"send", "45", "-", "--wait", "soon"}, "a whole number of seconds"},
      {{"send", "45", "-", "--wait", "604801"}, "at most a week"},
      {{"list", "--root", ""}, "--root can be the name of a folder"}};
  for (const Wrong& one : wrong) {
    const std::string problem = parseArguments(one.words).problem();
    EXPECT_NE(problem.find(one.problem), std::string::npos) << problem;
    EXPECT_NE(problem, "") << one.problem;
    EXPECT_EQ(problem.find('\n'), std::string::npos);
  }
}

TEST(ToolArguments, TheHelpNamesEveryVerbAndOption) {
  const testing_support::Machine machine;
  const auto help = machine.run({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.err, "");
  for (const char* word :
       {"list", "show", "send", "forget", "--json", "--frames", "--all", "--verbose", "-v",
        "--doubt", "--darkness", "--speed", "--wait", "--root", "--help", "--version"}) {
    EXPECT_NE(help.out.find(word), std::string::npos) << word;
  }
  const auto version = machine.run({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out.rfind("kestra-delivery ", 0), 0U) << version.out;
}

TEST(ToolArguments, AListThatCannotBeWrittenIsAFailure) {
  const testing_support::Machine machine;
  const testing_support::Ran ran =
      testing_support::Started("/bin/sh", {"-c", "exec \"$0\" --help >/dev/full", KESTRA_DELIVERY})
          .wait();
  EXPECT_EQ(ran.status, 1);
  EXPECT_NE(ran.err.find("could not be written"), std::string::npos) << ran.err;
}

}  // namespace
}  // namespace kestra::delivery
