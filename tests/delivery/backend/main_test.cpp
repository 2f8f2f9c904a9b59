// Tests of the backend as the print system starts it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "delivery/core/job_store.h"
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

// Label 1 of the job may have come; the settings hold such jobs, the address says otherwise, and
// the person who prints has the last word.
TEST_F(Backend, InDoubtThePersonWhoPrintsCountsBeforeTheQueueAndThatBeforeTheMachine) {
  std::ofstream(tree() + "/etc/rastertokestra.conf") << "doubt hold\n";
  const struct {
    const char *ofQueue, *ofJob;
    int verdict;
    const char* words;
  } table[] = {{"", "", 3, "ERROR: Label 1 may have come or not"},
               {"/?doubt=skip", "", 0, "WARNING: Label 1 may be missing"},
               {"/?doubt=hold", " doubt=again", 0, "WARNING: Label 1 may come twice"},
               {"/?doubt=again", " doubt=hold", 3, "ERROR: Label 1 may have come or not"}};
  for (const auto& row : table) {
    fs::remove_all(state());
    const JobStore store(state());
    ASSERT_EQ(store.prepare().problem(), "");
    // The key of the job that is started here: its uuid and number.
    const std::string key = jobKey("urn:uuid:0c6bdb70-8d3d-3f0c-4a0a-94e1d3b7b3a1", 12, 1795226353);
    ASSERT_EQ(store.jobLock(key).problem(), "");
    {
      Journal journal;
      ASSERT_TRUE(journal.open(*store.printingFolder(key, 0) + "/journal"));
      ASSERT_TRUE(journal.start({0, 12, "label", "socket://h", "t"}));
      ASSERT_TRUE(journal.closing("any", kUsualCommand));
    }
    if (geteuid() == 0) {
      ASSERT_EQ(chown(state().c_str(), kUser, kUser), 0);
      for (const auto& entry : fs::recursive_directory_iterator(state())) {
        ASSERT_EQ(chown(entry.path().c_str(), kUser, kUser), 0);
      }
    }
    renewPipe();
    options_ = row.ofJob;
    const Listener printer;
    Child job([&] { return start("kestra:" + printer.uri() + row.ofQueue); });
    command();
    const std::string only = frame(1);
    counter();
    endInput();
    if (std::string(row.ofJob) == " doubt=again") {
      EXPECT_EQ(printer.received(), kCommand + only);
    }
    EXPECT_NE(job.messages().find(row.words), std::string::npos) << row.ofQueue << row.ofJob;
    EXPECT_EQ(job.wait(), row.verdict);
  }
}

// Filters that outlive the print system would go on beside those of the job's next start.
TEST_F(Backend, EndsTheFilterWhenThePrintSystemHasDied) {
  ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
  const Listener printer;
  std::array<int, 2> told = {}, executed = {};
  ASSERT_EQ(pipe2(told.data(), O_CLOEXEC), 0);
  ASSERT_EQ(pipe2(executed.data(), O_CLOEXEC), 0);
  const pid_t printSystem = fork();
  if (printSystem == 0) {
    std::array<pid_t, 2> started = {fork(), -1};
    if (started[0] == 0) {  // a filter that never ends
      dup2(filter_[1], STDOUT_FILENO);
      close(filter_[0]);
      close(filter_[1]);
      if (geteuid() == 0 && (setgid(kUser) != 0 || setuid(kUser) != 0)) _exit(1);
      execlp("sleep", "sleep", "1000", nullptr);
      _exit(1);
    }
    started[1] = fork();
    if (started[1] == 0) _exit(start("kestra:" + printer.uri()));
    endInput();
    close(executed[1]);
    if (write(told[1], started.data(), sizeof started) != sizeof started) _exit(1);
    for (;;) pause();
  }
  std::array<pid_t, 2> started = {-1, -1};
  ASSERT_EQ(read(told[0], started.data(), sizeof started), ssize_t{sizeof started});
  // The filter is known by its output, which it has when it executes its program.
  close(executed[1]);
  char nothing = 0;
  ASSERT_EQ(read(executed[0], &nothing, 1), 0);
  close(executed[0]);
  command();
  const std::string first = frame(1);
  endInput();
  // The job is noted as under way: its sender is there.
  std::error_code none;
  for (int milliseconds = 0; milliseconds < 20000; milliseconds += 5) {
    if (fs::exists(state() + "/open") && !fs::is_empty(state() + "/open", none)) break;
    poll(nullptr, 0, 5);
  }
  ASSERT_EQ(kill(printSystem, SIGKILL), 0);
  int status = 0;
  ASSERT_EQ(waitpid(printSystem, &status, 0), printSystem);
  EXPECT_EQ(printer.received(), kCommand + first);
  bool hasEnded = false;
  for (int milliseconds = 0; milliseconds < 20000 && !hasEnded; milliseconds += 5) {
    hasEnded = waitpid(started[0], &status, WNOHANG) == started[0];
    if (!hasEnded) poll(nullptr, 0, 5);
  }
  EXPECT_TRUE(hasEnded);
  if (hasEnded) {
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
  } else {
    kill(started[0], SIGKILL);
    waitpid(started[0], nullptr, 0);
  }
  // The front and the sender end as well, and become this process's to take.
  while (waitpid(-1, nullptr, 0) > 0) {
  }
  close(told[0]);
  close(told[1]);
  prctl(PR_SET_CHILD_SUBREAPER, 0);
}

}  // namespace
}  // namespace kestra::delivery
