// Black-box tests of what kestra-proof writes to: full disks, pipes, terminals, new files.
//
// A script that reads the findings must notice when they are cut off, and nothing but a picture may
// be replaced by one.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

#include "tests/tools/proof_run.h"
#include "tests/tools/raster_document.h"

namespace kestra {
namespace {

using blackbox::JobCase;

// Runs the program by a shell, which connects its streams; the exit status, or -1.
int shell(const ProofDirectory& directory, const std::string& words) {
  const std::string command = "cd '" + directory.path(".") + "' && TMPDIR='" +
                              directory.path("../temporary") + "' exec '" KESTRA_PROOF "' " + words;
  const int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The words that print a page which comes out with a warning: the threshold drops its grey.
std::string palePage(const ProofDirectory& directory) {
  JobCase job;
  job.pages = {{testing_support::makeHeader(100, 40, 100), testing_support::uniform(100, 40, 128)}};
  std::string line;
  for (const std::string& word : writeDocument(directory, job)) line += "'" + word + "' ";
  return line;
}

TEST(StandardOutput, ThatIsFullIsAFailure) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
  const ProofDirectory directory;
  directory.write("page.dat", smallFrame());
  EXPECT_EQ(shell(directory, "page.dat >/dev/null 2>&1"), 0);
  EXPECT_EQ(shell(directory, "page.dat >/dev/full 2>err"), 1);
}

// The warning writes out what waits before it; that this failed is still known at the end.
TEST(StandardOutput, ThatIsFullBeforeAWarningIsAFailure) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
  const ProofDirectory directory;
  const std::string words = palePage(directory);
  EXPECT_EQ(shell(directory, words + ">/dev/null 2>err"), 0);
  EXPECT_FALSE(directory.read("err").empty()) << "the page is no example any more";
  EXPECT_EQ(shell(directory, words + ">/dev/full 2>err"), 1);
  const Bytes errors = directory.read("err");
  EXPECT_NE(std::string(errors.begin(), errors.end()).find("cannot be written"), std::string::npos);
}

TEST(Picture, DoesNotReplaceAFifo) {
  const ProofDirectory directory;
  directory.write("page.dat", smallFrame());
  ASSERT_EQ(mkfifo(directory.path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(directory.run({"--output", "pipe", "page.dat"}).status, 1);
  struct stat status = {};
  ASSERT_EQ(lstat(directory.path("pipe").c_str(), &status), 0);
  EXPECT_TRUE(S_ISFIFO(status.st_mode));
}

TEST(Picture, HasTheRightsOfAnyNewFile) {
  for (const mode_t mask : {mode_t{022}, mode_t{027}}) {
    const ProofDirectory directory;
    directory.write("page.dat", smallFrame());
    const mode_t before = umask(mask);
    EXPECT_EQ(directory.run({"page.dat"}).status, 0);
    umask(before);
    struct stat status = {};
    ASSERT_EQ(stat(directory.path("page.png").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0666 & ~mask);
  }
}

// A terminal whose screen this test reads.
class Terminal {
 public:
  Terminal() : screen_(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK)) {
    if (screen_ < 0 || grantpt(screen_) != 0 || unlockpt(screen_) != 0) return;
    const char* name = ptsname(screen_);
    if (name == nullptr) return;
    name_ = name;
    line_ = open(name, O_RDWR | O_NOCTTY);  // or what was written would go with its writer
  }
  ~Terminal() {
    if (line_ >= 0) close(line_);
    if (screen_ >= 0) close(screen_);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  bool works() const { return line_ >= 0; }
  const std::string& name() const { return name_; }
  std::string text() const {
    std::string text;
    std::array<char, 4096> block = {};
    for (;;) {
      const ssize_t got = read(screen_, block.data(), block.size());
      if (got <= 0) return text;
      text.append(block.data(), static_cast<std::size_t>(got));
    }
  }

 private:
  int screen_;
  int line_ = -1;
  std::string name_;
};

TEST(ProgressBar, IsShownOnATerminalUnlessQuietIsWanted) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "bars");
  writeDocument(directory, job);
  // The bar comes after half a second; this renderer takes longer.
  directory.writeText("imagetoraster",
                      "#!/bin/sh\nsleep 0.7\ncat '" + directory.path("pages.ras") + "'\n");
  ASSERT_EQ(chmod(directory.path("imagetoraster").c_str(), 0755), 0);
  directory.writeText("picture.png", "\x89PNG\r\n\x1A\n");
  setenv("CUPS_FILTER_DIR", directory.path(".").c_str(), 1);
  for (const bool quiet : {false, true}) {
    const Terminal terminal;
    if (!terminal.works()) {
      unsetenv("CUPS_FILTER_DIR");
      GTEST_SKIP() << "this machine gives no terminal";
    }
    EXPECT_EQ(shell(directory, std::string(quiet ? "-q" : "") +
                                   " --ppd printer.ppd picture.png >out 2>" + terminal.name()),
              0);
    std::string text = terminal.text();
    // The system may bring it to the screen behind the program's end.
    for (int i = 0; i < 2000 && !quiet && text.find("picture.png") == std::string::npos; ++i) {
      usleep(10000);
      text += terminal.text();
    }
    EXPECT_EQ(text.find("picture.png") == std::string::npos, quiet) << text;
  }
  unsetenv("CUPS_FILTER_DIR");
}

}  // namespace
}  // namespace kestra
