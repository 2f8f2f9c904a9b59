// Tests of the list of printers, with stand-ins for the print system's backends.
#include "delivery/backend/discovery.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "delivery/core/watch.h"
#include "tests/delivery/backend/child.h"

namespace kestra::delivery {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

constexpr const char* kFirstLine =
    "network kestra \"Unknown\" "
    "\"Label printer, each label exactly once (kestra:socket://ADDRESS)\" \"\" \"\"\n";

Account somebody() { return geteuid() == 0 ? Account{7654, 7655} : Account{geteuid(), getegid()}; }

// Prints lines: the text goes through the shell's quotes unchanged.
std::string lists(const std::string& lines) {
  return "#!/bin/sh\ncat <<'END'\n" + lines + "\nEND\n";
}

// Backends answer in any order.
std::string sorted(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line + "\n");
  std::sort(lines.begin(), lines.end());
  return std::accumulate(lines.begin(), lines.end(), std::string());
}

class Discovery : public testing::Test {
 protected:
  // What is listed, behind the first line.
  std::string list(const DiscoveryTimes& times = {}) {
    Child child([&] { return listDevices(folder_.path(), somebody(), times); });
    const std::string text = child.output();
    EXPECT_EQ(child.messages(), "");
    EXPECT_EQ(child.wait(), 0);
    const std::string first = kFirstLine;
    EXPECT_EQ(text.substr(0, first.size()), first);
    return text.substr(std::min(first.size(), text.size()));
  }
  Folder folder_;
};

TEST_F(Discovery, ListsWhatTheLocalBackendsFind) {
  folder_.write("usb",
                lists("direct usb \"Unknown\" \"USB\"\n"
                      "direct usb://K/4?serial=1 \"K 4\" \"K 4 USB\" \"MFG:K;MDL:4;\" \"\""),
                0744);
  EXPECT_EQ(list(),
            "direct kestra:usb://K/4?serial=1 \"K 4\" \"K 4 USB (each label exactly once)\" "
            "\"MFG:K;MDL:4;\" \"\"\n");
}

TEST_F(Discovery, KeepsHostileTextsInsideTheirQuotes) {
  folder_.write("usb",
                "#!/bin/sh\nprintf 'direct usb://K/4 \"a\\\\\"b\\\\\\\\\" \"i\" "
                "\"MFG:\\\\\"\\r\\033[2J;\" \"\"\\n'\n",
                0755);
  EXPECT_EQ(list(),
            "direct kestra:usb://K/4 \"a\\\"b\\\\\" \"i (each label exactly once)\" "
            "\"MFG:\\\"  [2J;\" \"\"\n");
}

TEST_F(Discovery, PassesOverALineWithoutEnd) {
  folder_.write("usb",
                "#!/bin/sh\nhead -c 5000 /dev/zero | tr '\\0' x\necho\n"
                "echo 'direct usb://K/4 \"m\" \"i\"'\nprintf 'direct usb://K/5 \"m\" \"i\"'\n",
                0755);
  EXPECT_EQ(list(), "direct kestra:usb://K/4 \"m\" \"i (each label exactly once)\" \"\" \"\"\n");
}

TEST_F(Discovery, ListsNothingWhereThereIsNothing) {
  EXPECT_EQ(list(), "");
  fs::remove_all(folder_.path());
  EXPECT_EQ(list(), "");
}

TEST_F(Discovery, AsksNeitherTheNetworkNorItselfNorUnsafeFiles) {
  const std::string called = folder_.path() + "/called";
  ASSERT_EQ(mkdir(called.c_str(), 0777), 0);
  chmod(called.c_str(), 0777);
  const std::string program = "#!/bin/sh\n: >" + called + "/$(basename \"$0\")\n";
  for (const char* name : {"snmp", "dnssd", "ipp", "ipps", "http", "https", "lpd", "mdns", "smb",
                           "beh", "kestra", "driverless", "driverless-fax", "bluetooth", "usb"}) {
    folder_.write(name, program, 0755);
  }
  folder_.write("for-all", program, 0777);
  folder_.write("for-group", program, 0775);
  folder_.write("no-program", program, 0644);
  ASSERT_EQ(mkdir((folder_.path() + "/folder").c_str(), 0755), 0);
  ASSERT_EQ(mkfifo((folder_.path() + "/fifo").c_str(), 0755), 0);
  ASSERT_EQ(symlink("nowhere", (folder_.path() + "/broken").c_str()), 0);
  EXPECT_EQ(list(), "");
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(called)) names.push_back(entry.path().filename());
  EXPECT_EQ(names, std::vector<std::string>{"usb"});
}

TEST_F(Discovery, StartsNothingThatBelongsToSomebodyElse) {
  if (geteuid() != 0) GTEST_SKIP() << "only the administrator can give a file away";
  const std::string path = folder_.write("usb", lists("direct usb://K/4 \"m\" \"i\""), 0755);
  ASSERT_EQ(chown(path.c_str(), 7654, 7655), 0);
  EXPECT_TRUE(localBackends(folder_.path()).empty());
}

TEST_F(Discovery, GivesBackendsTheRightsThatTheirModesAskFor) {
  if (geteuid() != 0) GTEST_SKIP() << "only the administrator has rights to give";
  const std::string tells =
      "#!/bin/sh\necho \"direct $(basename $0)://$(id -u)/$(id -g)/$(id -G) x y\"\n";
  folder_.write("only", tells, 0700);
  folder_.write("owner", tells, 0744);
  folder_.write("shared", tells, 0755);
  EXPECT_EQ(
      sorted(list()),
      "direct kestra:only://0/0/0 \"x\" \"y (each label exactly once)\" \"\" \"\"\n"
      "direct kestra:owner://0/0/0 \"x\" \"y (each label exactly once)\" \"\" \"\"\n"
      "direct kestra:shared://7654/7655/7655 \"x\" \"y (each label exactly once)\" \"\" \"\"\n");
}

TEST_F(Discovery, ListsWhatItHasWhenABackendHangs) {
  folder_.write("parallel",
                "#!/bin/sh\necho 'direct parallel:/dev/lp0 \"m\" \"i\"'\nexec sleep 60\n", 0755);
  folder_.write("usb", lists("direct usb://K/4 \"m\" \"i\""), 0700);
  const auto before = Clock::now();
  const std::string text = list({milliseconds(4000), milliseconds(6000)});
  EXPECT_LT(Clock::now() - before, std::chrono::seconds(40));
  EXPECT_NE(text.find("kestra:parallel:/dev/lp0"), std::string::npos) << text;
  EXPECT_NE(text.find("kestra:usb://K/4"), std::string::npos) << text;
}

TEST_F(Discovery, LeavesNoBackendBehind) {
  // It tells its number and that of a child of its own, and hangs.
  folder_.write("usb", "#!/bin/sh\nsleep 61 &\necho \"direct usb://$$/$! m i\"\nwait\n", 0755);
  const std::string text = list({milliseconds(4000), milliseconds(6000)});
  const std::size_t first = text.find("usb://") + 6;
  const std::size_t slash = text.find('/', first);
  ASSERT_NE(slash, std::string::npos) << text;
  for (const std::size_t at : {first, slash + 1}) {
    const int process = std::stoi(text.substr(at));
    // Killed, it is gone as soon as its new parent has noticed.
    const auto until = Clock::now() + std::chrono::seconds(30);
    bool isGone = false;
    while (!isGone && Clock::now() < until) {
      isGone = !fs::exists("/proc/" + std::to_string(process) + "/exe");
      if (!isGone) usleep(1000);
    }
    EXPECT_TRUE(isGone) << process;
  }
}

TEST_F(Discovery, PassesOverWhatIsNoPrinter) {
  folder_.write("usb",
                lists("what a program says that cannot find its library\n"
                      "network usb://K/4 \"K 4\" \"K 4\" \"MFG:K;MDL:4;\" \"\"\n"
                      "direct usb://K/5 \"K 5\" \"K 5\" \"MFG:K;MDL:5;\" \"\""),
                0744);
  EXPECT_EQ(list(),
            "direct kestra:usb://K/5 \"K 5\" \"K 5 (each label exactly once)\" "
            "\"MFG:K;MDL:5;\" \"\"\n");
}

}  // namespace
}  // namespace kestra::delivery
