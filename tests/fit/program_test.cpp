// The program between two pipes, with a file, and when somebody hangs up.
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <sstream>
#include <thread>

#include "tests/fit/fit_program.h"
#include "tests/fit/plain_fit.h"
#include "tests/support/files.h"

namespace kestra::fit_tests {

namespace ts = testing_support;

namespace {

constexpr std::size_t kAll = SIZE_MAX;

// A file that vanishes with its test.
class Scratch {
 public:
  Scratch(const std::string& ending, const std::string& bytes)
      : path_(folder_.path() + "/document" + ending) {
    std::ofstream(path_, std::ios::binary) << bytes;
  }
  const std::string& path() const { return path_; }

 private:
  const ts::TemporaryFolder folder_;
  std::string path_;
};

std::string head832() { return "*PPD-Adobe: \"4.3\"\n*MaxMediaWidth: \"295.1\"\n"; }

// Gives all input and takes all output.
std::string through(FitProgram* program, const std::string& input) {
  std::thread giver([&] {
    program->give(input);
    program->endOfInput();
  });
  std::string output = program->take(kAll);
  giver.join();
  return output;
}

}  // namespace

TEST(KestraFit, FitsPagesToTheHeadOfThePrinterDescription) {
  const Scratch ppd(".ppd", head832());
  const std::vector<ts::StreamPage> pages = {makePage("noise", 932, 400),
                                             makePage("text", 812, 900)};
  FitProgram program(jobWords(), ppd.path());
  EXPECT_EQ(through(&program, ts::rawStream(pages)), ts::rawStream(plainFit(pages, 832)));
  const FitEnd end = program.await();
  EXPECT_EQ(end.status, 0);
  EXPECT_EQ(end.messages,
            "WARNING: Page 1 is 12.5 mm (100 dots) wider than the print head: 6.3 mm (50 dots) on "
            "the left and 6.3 mm (50 dots) on the right are not printed; choose a narrower page "
            "size\n");
}

TEST(KestraFit, WarnsOnceOfPagesThatLoseTheSame) {
  const Scratch ppd(".ppd", head832());
  std::vector<ts::StreamPage> pages;
  for (const unsigned width : {832U, 852U, 852U, 840U, 831U})
    pages.push_back(makePage("text", width, 1));
  FitProgram program(jobWords(), ppd.path());
  through(&program, ts::rawStream(pages));
  const std::string said = program.await().messages;
  std::vector<std::string> lines;
  std::istringstream in(said);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  ASSERT_EQ(lines.size(), 3U) << said;
  EXPECT_EQ(lines[0].find("WARNING: Page 2 is 2.5 mm (20 dots) wider"), 0U) << said;
  EXPECT_EQ(lines[1].find("WARNING: Page 4 is 1.0 mm (8 dots) wider"), 0U) << said;
  EXPECT_EQ(lines[2],
            "DEBUG: Page 5 is 831 dots wide and gets 0.1 mm (1 dot) of paper on the right, so that "
            "it prints straight");
}

TEST(KestraFit, ReadsTheFileThatIsItsSixthArgument) {
  const std::vector<ts::StreamPage> pages = {makePage("noise", 833, 200),
                                             makePage("noise", 400, 9)};
  const Scratch file(".ras", ts::rawStream(pages));
  FitProgram program(jobWords(file.path()));
  // Without a printer description the head is not known, and nothing is cut.
  EXPECT_EQ(program.take(kAll), ts::rawStream(plainFit(pages, 0)));
  EXPECT_EQ(program.await().status, 0);
}

TEST(KestraFit, FailsWithoutTheFile) {
  FitProgram program(jobWords("/nowhere/at/all.ras"));
  EXPECT_EQ(program.take(kAll), "");
  const FitEnd end = program.await();
  EXPECT_EQ(end.status, 1);
  EXPECT_EQ(end.messages, "ERROR: The raster file cannot be opened: No such file or directory\n");
}

TEST(KestraFit, FailsWhereTheFileCannotBeRead) {
  FitProgram program(jobWords("/"));
  const FitEnd end = program.await();
  EXPECT_EQ(end.status, 1);
  EXPECT_EQ(end.messages, "ERROR: The pages cannot be read: Is a directory\n");
}

TEST(KestraFit, FailsWhereThePagesCannotBeHandedOn) {
  FitProgram program(jobWords(), std::nullopt, "/dev/full");
  program.give(ts::rawStream({makePage("noise", 812, 100)}));
  program.endOfInput();
  const FitEnd end = program.await();
  EXPECT_EQ(end.status, 1);
  EXPECT_EQ(end.messages,
            "ERROR: The pages cannot be handed to the filter: No space left on device\n");
}

TEST(KestraFit, TellsHowItIsStarted) {
  FitProgram program({"42", "user", "title", "1"});
  const FitEnd end = program.await();
  EXPECT_EQ(end.status, 1);
  EXPECT_EQ(end.messages, "Usage: kestrafit job_id user title copies options [file]\n");
}

// The filter ends a job early at a page that it refuses: its own status is the job's.
TEST(KestraFit, EndsWellWhereTheFilterReadsNoMore) {
  FitProgram program(jobWords());
  program.stopReading();
  // More than the pipe holds: the last piece finds nobody.
  EXPECT_FALSE(program.give(ts::rawStream({makePage("noise", 812, 4000)})));
  const FitEnd end = program.await();
  EXPECT_EQ(end.status, 0);
  EXPECT_EQ(end.messages, "");
}

// A label must not wait in the stage for the next one.
TEST(KestraFit, HandsOnEachPageBeforeItWaitsForTheNext) {
  FitProgram program(jobWords());
  std::string soFar = "3SaR";
  program.give(soFar);
  EXPECT_EQ(program.take(4), soFar);
  for (const unsigned width : {6U, 8U, 2001U}) {
    const std::vector<ts::StreamPage> page = {makePage("noise", width, 5)};
    program.give(ts::rawStream(page).substr(4));
    const std::string wanted = ts::rawStream(plainFit(page, 0)).substr(4);
    EXPECT_EQ(program.take(wanted.size()), wanted) << width;
  }
  program.endOfInput();
  EXPECT_EQ(program.await().status, 0);
}

// The print system's pipes break pieces where they like.
TEST(KestraFit, TakesInputThatComesByteByByte) {
  const std::vector<ts::StreamPage> pages = {makePage("noise", 7, 3), makePage("noise", 8, 3)};
  FitProgram program(jobWords());
  for (const char byte : ts::rawStream(pages)) ASSERT_TRUE(program.give(std::string(1, byte)));
  program.endOfInput();
  EXPECT_EQ(program.take(kAll), ts::rawStream(plainFit(pages, 0)));
}

}  // namespace kestra::fit_tests
