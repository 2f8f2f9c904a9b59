// Tests of the port monitor as the print system starts it.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include "delivery/core/watch.h"
#include "tests/delivery/backend/child.h"

namespace kestra::delivery {
namespace {

// A job of the monitor's with a spool of its own.
class Monitor : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"", "/var", "/var/spool", "/var/spool/cups", "/var/spool/cups/tmp",
                             "/var/spool/cups/tmp/kcv6data", "/etc", "/var/lib"}) {
      mkdir((folder_.path() + "/root" + name).c_str(), 0755);
    }
    ASSERT_EQ(pipe(filter_.data()), 0);
  }
  void TearDown() override {
    close(filter_[0]);
    endInput();
  }

  // Starts the program with the filter's pipe as its input.
  int start(const std::string& uri) const {
    setenv("KESTRA_DELIVERY_ROOT", (folder_.path() + "/root").c_str(), 1);
    setenv("DEVICE_URI", uri.c_str(), 1);
    setenv("PRINTER", "label", 1);
    dup2(filter_[0], STDIN_FILENO);
    close(filter_[0]);
    close(filter_[1]);
    execl(KESTRA_MONITOR, "kestra", "12", "anna", "title", "1", "job-uuid=urn:uuid:x", nullptr);
    return 127;
  }

  void command() const { ASSERT_EQ(write(filter_[1], "\x1B\x73\x01\x00\x00\x02\x01", 7), 7); }
  void endInput() {
    if (filter_[1] >= 0) close(filter_[1]);
    filter_[1] = -1;
  }

  // Stores a frame of two rows as the filter does: whole under its name.
  std::string frame(int page) const {
    std::string bytes("SIZ\x01\x0C\x00\x02\x00\x0F\x00\x00\x00", 12);
    bytes += static_cast<char>(page);
    bytes += std::string("\x00\x1D\x76\x30\x00\x05\x00\x02\x00", 9);
    bytes += std::string("\x04\x00\x00\xF0\x00\x01\x00\x00\x00\x10", 10);
    const std::string name = "page_000" + std::to_string(page) + "_jobid_000012_0000.dat";
    const std::string part = folder_.write("part", bytes, 0600);
    EXPECT_EQ(rename(part.c_str(), (frames() + name).c_str()), 0);
    return bytes;
  }
  std::string frames() const { return folder_.path() + "/root/var/spool/cups/tmp/kcv6data/"; }

  Folder folder_;
  std::array<int, 2> filter_ = {-1, -1};
};

const std::string kCommand("\x1B\x73\x01\x00\x00\x02\x01", 7);

TEST_F(Monitor, SendsCommandAndFrameOfEachPage) {
  Child job([this] { return start("socket://127.0.0.1:9100"); });
  command();
  const std::string first = frame(1);
  command();
  const std::string second = frame(2);
  endInput();
  EXPECT_EQ(job.output(), kCommand + first + kCommand + second);
  EXPECT_EQ(job.wait(), 0);
  EXPECT_EQ(rmdir(frames().c_str()), 0) << "the job's frames are gone";
}

TEST_F(Monitor, HandsOnWhatItReadsWhereOurBackendSends) {
  Child job([this] { return start("kestra:socket://127.0.0.1:9100"); });
  command();
  const std::string bytes = frame(1);
  command();
  endInput();
  EXPECT_EQ(job.output(), kCommand + kCommand);
  EXPECT_EQ(job.wait(), 0);
  EXPECT_EQ(access((frames() + "page_0001_jobid_000012_0000.dat").c_str(), F_OK), 0);
}

TEST_F(Monitor, DoesNotEndAsPrintedWhereALabelIsMissing) {
  Child job([this] { return start("usb://Kestra/K4"); });
  command();
  endInput();  // and no frame came
  EXPECT_EQ(job.wait(), 1);
}

TEST_F(Monitor, EndsSoonWhenTheJobIsCancelled) {
  Child job([this] { return start("usb://Kestra/K4"); });
  command();
  const std::string page = kCommand + frame(1);
  command();
  // The first page is out, the second is not there yet.
  EXPECT_EQ(job.nextOutput(page.size()), page);
  const auto before = Clock::now();
  job.signal(SIGTERM);
  EXPECT_EQ(job.output(), "");
  EXPECT_EQ(job.wait(), 1);
  EXPECT_LT(Clock::now() - before, std::chrono::seconds(10));
}

TEST_F(Monitor, TellsHowItIsStartedWhereWordsAreMissing) {
  Child job([] {
    execl(KESTRA_MONITOR, "kestra", "12", nullptr);
    return 127;
  });
  EXPECT_EQ(job.messages().rfind("Usage:", 0), 0U);
  EXPECT_EQ(job.wait(), 1);
}

}  // namespace
}  // namespace kestra::delivery
