// kestrasize as the print system starts it, with shell lines in place of the renderers.
// Why: what each filter is told, and how a job ends, must be as if the print system had started
// them.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/files.h"

namespace {

namespace fs = std::filesystem;

class Program : public testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(folder_ + "/filter");
    std::ofstream(folder_ + "/in") << "in";
    for (const char* stage :
         {"texttopdf", "rastertopdf", "pdftopdf", "gstoraster", "imagetoraster", "kestrafit"}) {
      filter(stage, std::string("cat $6; printf ' ") + stage + "'");
    }
    filter("rastertokestra", "cat; printf ' rastertokestra'");
  }

  // A filter with its words in files of its name: options, and the number of words.
  void filter(const std::string& name, const std::string& lines) {
    const std::string path = folder_ + "/filter/" + name;
    std::ofstream(path) << "#!/bin/sh\nprintf %s \"$5\" >" << folder_ << "/" << name
                        << ".options\nprintf %s $# >" << folder_ << "/" << name << ".words\n"
                        << "printf %s \"$FINAL_CONTENT_TYPE\" >" << folder_ << "/" << name
                        << ".final\n"
                        << lines << "\n";
    chmod(path.c_str(), 0755);
  }

  std::string text(const std::string& name) const {
    return kestra::testing_support::readFile(folder_ + "/" + name);
  }

  pid_t start(const std::string& type, const std::string& options, bool named = true) {
    const pid_t process = fork();
    if (process != 0) return process;
    setenv("CUPS_SERVERBIN", folder_.c_str(), 1);
    setenv("PPD", KESTRA_PPD_DIR "/kestra4.ppd", 1);
    setenv("CONTENT_TYPE", type.c_str(), 1);
    setenv("TMPDIR", temporaryFiles_.c_str(), 1);
    setenv("DEVICE_URI", device_.c_str(), 1);
    if (ignoresEnds_) {
      std::signal(SIGCHLD, SIG_IGN);
      alarm(100);
    }
    const std::string document = folder_ + "/in";
    const auto redirect = [&](const std::string& file, int flags, int to) {
      dup2(open(file.c_str(), flags, 0600), to);
    };
    redirect(named ? "/dev/null" : document, O_RDONLY, STDIN_FILENO);
    redirect(folder_ + "/out", O_WRONLY | O_CREAT | O_TRUNC, STDOUT_FILENO);
    redirect(folder_ + "/log", O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, STDERR_FILENO);
    execl(KESTRA_SIZE, "label", "12", "me", "title", "1", options.c_str(),
          named ? document.c_str() : nullptr, nullptr);
    _exit(127);
  }
  int run(const std::string& type, const std::string& options, bool named = true) {
    const pid_t process = start(type, options, named);
    int status = -1;
    waitpid(process, &status, 0);
    return status;
  }

  const kestra::testing_support::TemporaryFolder temporary_;
  const std::string folder_ = temporary_.path();
  std::string temporaryFiles_ = folder_;
  std::string device_ = "kestra:socket://printer";
  bool ignoresEnds_ = false;
};

TEST_F(Program, HandsADocumentFromFilterToFilter) {
  EXPECT_EQ(run("application/pdf", ""), 0);
  EXPECT_EQ(text("out").rfind("in pdftopdf gstoraster", 0), 0U) << text("out");
  const std::string end = " rastertokestra";
  EXPECT_EQ(text("out").substr(text("out").size() - end.size()), end);
}

TEST_F(Program, GivesTheDocumentsNameToTheFirstFilterAlone) {
  EXPECT_EQ(run("text/plain", ""), 0);
  EXPECT_EQ(text("texttopdf.words"), "6");
  EXPECT_EQ(text("pdftopdf.words"), "5");
  EXPECT_EQ(text("rastertokestra.words"), "5");
}

TEST_F(Program, ReadsFromAFilterBeforeItToo) {
  EXPECT_EQ(run("application/postscript", "", false), 0);
  EXPECT_EQ(text("out").rfind("in pdftopdf gstoraster", 0), 0U) << text("out");
  EXPECT_EQ(text("pdftopdf.words"), "5");
}

TEST_F(Program, TellsEveryFilterTheSizeInTheDescriptionsWords) {
  EXPECT_EQ(run("application/pdf", "Darkness=Dark PageSize=100x50mm"), 0);
  for (const char* stage : {"pdftopdf", "gstoraster", "rastertokestra"}) {
    EXPECT_EQ(text(std::string(stage) + ".options"),
              "Darkness=Dark PageSize=100x50mm PageSize=w283h142")
        << stage;
    EXPECT_EQ(text(std::string(stage) + ".final"), "application/vnd.cups-raster") << stage;
  }
}

TEST_F(Program, LeavesOptionsAsTheyAreWhereTheDescriptionHasTheSize) {
  EXPECT_EQ(run("image/png", "PageSize=w283h142 title='a b'"), 0);
  EXPECT_EQ(text("imagetoraster.options"), "PageSize=w283h142 title='a b'");
}

TEST_F(Program, LetsNoRendererCountPagesWhereLabelsAreCountedThatCame) {
  EXPECT_EQ(run("application/pdf", "page-logging=on PageSize=w283h142"), 0);
  EXPECT_EQ(text("pdftopdf.options"), "page-logging=on PageSize=w283h142 page-logging=off");
  device_ = "socket://printer";
  EXPECT_EQ(run("application/pdf", "page-logging=on PageSize=w283h142"), 0);
  EXPECT_EQ(text("pdftopdf.options"), "page-logging=on PageSize=w283h142");
}

TEST_F(Program, WarnsOfASizeThatThePrinterDoesNotHave) {
  EXPECT_EQ(run("application/pdf", "PageSize=foo"), 0);
  EXPECT_NE(text("log").find("WARNING: The printer does not have the page size \"foo\""),
            std::string::npos)
      << text("log");
}

// The head of a page of 799 x 400 dots at 203 dpi; more of the page is not looked at.
TEST_F(Program, ReadsTheSizeOfDotsWithoutTakingAnyAway) {
  std::string page = "RaS2PwgRaster";
  page.resize(4 + 1796, '\0');
  const auto put = [&](std::size_t at, unsigned value) {
    for (std::size_t i = 0; i < 4; ++i) page[4 + at + 3 - i] = static_cast<char>(value >> (8 * i));
  };
  put(276, 203);  // HWResolution
  put(280, 203);
  put(372, 799);  // Width
  put(376, 400);  // Height
  put(384, 8);    // BitsPerColor
  put(388, 8);    // BitsPerPixel
  put(392, 799);  // BytesPerLine
  put(400, 18);   // ColorSpace: grey
  put(420, 1);    // NumColors
  std::ofstream(folder_ + "/in", std::ios::binary) << page;
  for (const bool named : {true, false}) {
    EXPECT_EQ(run("image/pwg-raster", "", named), 0);
    EXPECT_EQ(text("rastertopdf.options"), "PageSize=w283h142");
    EXPECT_EQ(text("out").rfind(page + " rastertopdf pdftopdf", 0), 0U);
  }
}

// What was read of it would be missing.
TEST_F(Program, FailsWhereItCannotKeepTheDotsThatItMeasures) {
  temporaryFiles_ = folder_ + "/none";
  const int status = run("image/urf", "", false);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), EXIT_FAILURE);
  EXPECT_EQ(text("log"), "ERROR: The document cannot be kept in the folder for temporary files.\n");
  EXPECT_EQ(run("image/urf", ""), 0);
}

TEST_F(Program, SeesItsFiltersEndWhereWhoeverStartsItIgnoresEnds) {
  ignoresEnds_ = true;
  EXPECT_EQ(run("application/pdf", ""), 0);
  EXPECT_EQ(text("out").rfind("in pdftopdf gstoraster", 0), 0U) << text("out");
}

TEST_F(Program, FailsAsAFilterFails) {
  filter("pdftopdf", "cat $6; exit 3");
  int status = run("application/pdf", "");
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 3);
  filter("gstoraster", "cat; kill -SEGV $$");
  filter("pdftopdf", "cat $6");
  status = run("application/pdf", "");
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGSEGV);
  fs::remove(folder_ + "/filter/gstoraster");
  status = run("application/pdf", "");
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), EXIT_FAILURE);
  EXPECT_NE(text("log").find("ERROR: Unable to start filter"), std::string::npos) << text("log");
}

// The print system takes a program that was killed for one that is done.
TEST_F(Program, FailsWithWordsWhereAFilterWasKilled) {
  for (const char* signal : {"KILL", "TERM"}) {
    filter("rastertokestra", std::string("cat >/dev/null; kill -") + signal + " $$");
    const int status = run("application/pdf", "");
    ASSERT_TRUE(WIFEXITED(status)) << status;
    EXPECT_EQ(WEXITSTATUS(status), EXIT_FAILURE);
    const std::string number = signal == std::string("KILL") ? "9" : "15";
    EXPECT_NE(text("log").find("ERROR: The filter \"" + folder_ +
                               "/filter/rastertokestra\" was ended by signal " + number +
                               " before the end of the document.\n"),
              std::string::npos)
        << text("log");
  }
}

// The printer's filter must not take the end of what is before it for the end of the document, not
// even while nobody has noticed how that ended.
TEST_F(Program, ShowsThePrintersFilterNoEndWhereAFilterBeforeItWasKilled) {
  for (const char* killed : {"texttopdf", "pdftopdf", "gstoraster", "kestrafit"}) {
    SetUp();
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), 0), 0);
    // At the start of each filter's lines: where it tells what it has come to.
    const std::string begin = "exec 3>&" + std::to_string(ends[1]) + "; ";
    filter("rastertokestra", begin + "printf r >&3; cat >/dev/null; printf E >&3");
    // It stops kestrasize, and ends before it goes on.
    const std::string go = folder_ + "/go";
    ASSERT_EQ(mkfifo(go.c_str(), 0600), 0);
    std::string lines = begin;
    lines.append("read line <")
        .append(go)
        .append("; kill -STOP $PPID; printf k >&3; kill -KILL $$");
    filter(killed, lines);
    const pid_t process = start("text/plain", "");
    close(ends[1]);
    char letter = 0;
    ASSERT_EQ(read(ends[0], &letter, 1), 1);
    EXPECT_EQ(letter, 'r');
    std::ofstream(go) << "go\n";
    ASSERT_EQ(read(ends[0], &letter, 1), 1);
    EXPECT_EQ(letter, 'k') << killed;
    pollfd told = {ends[0], POLLIN, 0};
    EXPECT_EQ(poll(&told, 1, 100), 0) << killed;
    kill(process, SIGCONT);
    EXPECT_EQ(read(ends[0], &letter, 1), 0) << killed;
    int status = 0;
    waitpid(process, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == EXIT_FAILURE) << killed << status;
    const std::string log = text("log");
    const std::size_t at = log.find(" was ended by signal 9 ");
    EXPECT_NE(at, std::string::npos) << log;
    EXPECT_EQ(log.find(" was ended by signal ", at + 1), std::string::npos) << log;
    close(ends[0]);
    fs::remove(go);
  }
}

// Those before it only lose their reader.
TEST_F(Program, FailsAsTheLastFilterOfThoseThatFail) {
  filter("pdftopdf", "exec yes");
  filter("gstoraster", "exec cat");
  filter("kestrafit", "exec cat");
  filter("rastertokestra", "exit 5");
  const int status = run("application/pdf", "");
  ASSERT_TRUE(WIFEXITED(status)) << status;
  EXPECT_EQ(WEXITSTATUS(status), 5);
  EXPECT_EQ(text("log").find("ERROR"), std::string::npos) << text("log");
}

// Cancelled, or killed: nothing of the job may go on.
TEST_F(Program, EndsItsFiltersWhereItIsEnded) {
  for (const int signal : {SIGTERM, SIGKILL}) {
    // A pipe that only filters hold open: it ends when all of them have.
    int ends[2];
    ASSERT_EQ(pipe2(ends, 0), 0);
    filter("rastertokestra", "printf ready >&" + std::to_string(ends[1]) + "; exec sleep 1000");
    filter("pdftopdf", "exec sleep 1000");
    const pid_t process = start("application/pdf", "");
    close(ends[1]);
    char ready[6] = {};
    ASSERT_EQ(read(ends[0], ready, 5), 5);
    kill(process, signal);
    int status = 0;
    waitpid(process, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), signal);
    alarm(100);  // where a filter lives on, the next line would wait for its 1000 seconds
    EXPECT_EQ(read(ends[0], ready, 5), 0);
    alarm(0);
    close(ends[0]);
  }
}

}  // namespace
