// Tests of the backend as the print system starts it.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "tests/delivery/backend/program_case.h"

namespace kestra::delivery {
namespace {

namespace fs = std::filesystem;

std::string contentsOf(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class Backend : public ProgramCase {
 protected:
  int start(const std::string& uri, const std::vector<std::string>& more = {}) const {
    return ProgramCase::start(KESTRA_BACKEND, uri, more);
  }
};

TEST_F(Backend, SendsEachPageAndLeavesNoFrame) {
  const Listener printer;
  Child job([&] { return start("kestra:" + printer.uri()); });
  command();
  const std::string first = frame(1);
  command();
  const std::string second = frame(2);
  counter();
  endInput();
  EXPECT_EQ(printer.received(), kCommand + first + kCommand + second);
  EXPECT_EQ(job.output(), "");
  EXPECT_NE(job.messages().find("PAGE: total 2\n"), std::string::npos);
  EXPECT_EQ(job.wait(), 0);
  ASSERT_EQ(unlink((frames() + "label.pgc").c_str()), 0);
  EXPECT_TRUE(fs::is_empty(frames()));
}

TEST_F(Backend, KeepsWhatItRemembersForTheUserOfFiltersAlone) {
  const Listener printer;
  Child job([&] { return start("kestra:" + printer.uri()); });
  command();
  frame(1);
  counter();
  endInput();
  EXPECT_NE(printer.received(), "");
  EXPECT_EQ(job.wait(), 0);
  const unsigned owner = geteuid() == 0 ? kUser : geteuid();
  int seen = 0;
  std::vector<fs::path> paths = {state()};
  for (const auto& entry : fs::recursive_directory_iterator(state())) paths.push_back(entry.path());
  for (const fs::path& path : paths) {
    struct stat status = {};
    ASSERT_EQ(lstat(path.c_str(), &status), 0) << path;
    EXPECT_EQ(status.st_uid, owner) << path;
    EXPECT_EQ(status.st_mode & 077U, 0U) << path;
    ++seen;
  }
  EXPECT_GE(seen, 3);
}

TEST_F(Backend, SendsADocumentWithoutAFilterAsOftenAsAskedFor) {
  const Listener printer;
  const std::string document = folder_.write("d00012-001", "raw bytes");
  Child job([&] { return start("kestra:" + printer.uri(), {document}); });
  EXPECT_EQ(printer.received(), "raw bytesraw bytes");
  EXPECT_EQ(job.wait(), 0);
}

TEST_F(Backend, StartsTheProgramOfADeviceWithTheRightsThatItsModeAsksFor) {
  // Appends what it gets to a file and who it is to another.
  const std::string out = folder_.path() + "/out";
  ASSERT_EQ(mkdir(out.c_str(), 0777), 0);
  ASSERT_EQ(chmod(out.c_str(), 0777), 0);
  const std::string program = "#!/bin/sh\ncat >>" + out + "/$PRINTER\nid -u >" + out + "/id\n";
  const std::string us = std::to_string(geteuid());
  const std::string others = geteuid() == 0 ? std::to_string(kUser) : us;
  for (const auto& [mode, user] :
       {std::pair<mode_t, std::string>{0744, us}, std::pair<mode_t, std::string>{0755, others}}) {
    fs::remove_all(state());
    folder_.write("backend/odd", program, mode);
    renewPipe();
    Child job([&] { return start("kestra:odd://device"); });
    std::string wanted;
    for (const int page : {1, 2}) {
      command();
      wanted.append(kCommand).append(frame(page));
    }
    counter();
    endInput();
    EXPECT_EQ(job.wait(), 0) << job.messages();
    EXPECT_EQ(contentsOf(out + "/label"), wanted);
    EXPECT_EQ(contentsOf(out + "/id"), user + "\n");
    fs::remove(out + "/label");
    fs::remove(out + "/id");
  }
}

TEST_F(Backend, StopsTheQueueWhereTheDeviceHasNoProgram) {
  Child job([&] { return start("kestra:odd://device"); });
  EXPECT_EQ(job.messages().rfind("ERROR: The program \"odd\" ", 0), 0U);
  EXPECT_EQ(job.wait(), 4);
}

TEST_F(Backend, HoldsAJobWhoseDocumentIsGone) {
  const Listener printer;
  Child job([&] { return start("kestra:" + printer.uri(), {folder_.path() + "/none"}); });
  EXPECT_EQ(job.messages().rfind("ERROR: The document ", 0), 0U);
  EXPECT_EQ(job.wait(), 3);
}

TEST_F(Backend, StopsTheQueueWhereTheAddressIsOfNoUse) {
  for (const char* uri :
       {"kestra:", "kestra:kestra:socket://h", "kestra:../x", "kestra:socket://"}) {
    Child job([&] { return start(uri); });
    const std::string messages = job.messages();
    EXPECT_EQ(messages.rfind("ERROR: ", 0), 0U) << uri << ": " << messages;
    EXPECT_EQ(job.wait(), 4) << uri;
  }
}

TEST_F(Backend, StopsTheQueueWhereItWouldHaveToPrintAsTheAdministrator) {
  if (geteuid() != 0) GTEST_SKIP() << "only the administrator has rights to drop";
  folder_.write("cups-files.conf", "User root\n");
  Child job([this] { return start("kestra:socket://127.0.0.1:9"); });
  EXPECT_EQ(job.messages().rfind("ERROR: Filters must not run as root", 0), 0U);
  EXPECT_EQ(job.wait(), 4);
  EXPECT_FALSE(fs::exists(state()));
}

TEST_F(Backend, StopsTheQueueWhereItsFolderIsNotItsOwn) {
  if (geteuid() != 0) GTEST_SKIP() << "only the administrator makes the folder";
  fs::create_directory(tree() + "/elsewhere");
  fs::create_symlink(tree() + "/elsewhere", state());
  Child job([this] { return start("kestra:socket://127.0.0.1:9"); });
  EXPECT_NE(job.messages().find(state()), std::string::npos);
  EXPECT_EQ(job.wait(), 4);
}

TEST_F(Backend, TellsHowItIsStartedWhereWordsAreMissing) {
  Child job([] {
    execl(KESTRA_BACKEND, "kestra", "12", nullptr);
    return 127;
  });
  EXPECT_EQ(job.messages().rfind("Usage:", 0), 0U);
  EXPECT_EQ(job.wait(), 1);
}

TEST_F(Backend, ListsPrintersWithoutWords) {
  folder_.write("backend/usb", "#!/bin/sh\necho 'direct usb://K/4 \"m\" \"i\"'\n", 0744);
  Child job([this] {
    setenv("CUPS_SERVERBIN", folder_.path().c_str(), 1);
    setenv("CUPS_SERVERROOT", folder_.path().c_str(), 1);
    execl(KESTRA_BACKEND, "kestra", nullptr);
    return 127;
  });
  EXPECT_NE(job.output().find("\ndirect kestra:usb://K/4 \"m\" "), std::string::npos);
  EXPECT_EQ(job.wait(), 0);
}

}  // namespace
}  // namespace kestra::delivery
