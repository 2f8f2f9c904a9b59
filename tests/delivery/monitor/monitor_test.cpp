// Tests of the port monitor as the print system starts it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include "delivery/core/watch.h"
#include "tests/delivery/backend/program_case.h"

namespace kestra::delivery {
namespace {

class Monitor : public ProgramCase {
 protected:
  int start(const std::string& uri, const std::vector<std::string>& more = {}) const {
    return ProgramCase::start(KESTRA_MONITOR, uri, more);
  }

  // The print system starts it as the user of filters, so it has nothing to drop: here that is us.
  Monitor() { owner_ = geteuid(); }
};

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

// The print system gives the file to the first program of a job; without a filter that is this one.
TEST_F(Monitor, HandsOnEveryCopyOfAJobThatHasNoFilter) {
  const std::string bytes = "^XA\x1Bs no label \xFF";
  const std::string path = folder_.write("document", bytes);
  for (const char* uri : {"socket://127.0.0.1:9100", "kestra:socket://127.0.0.1:9100"}) {
    Child job([this, &path, uri] { return start(uri, {path}); });
    EXPECT_EQ(job.output(), bytes + bytes) << uri;
    EXPECT_EQ(job.wait(), 0) << uri;
  }
}

TEST_F(Monitor, SaysWhichDocumentCannotBeRead) {
  const std::string path = folder_.path() + "/none";
  Child job([this, &path] { return start("socket://127.0.0.1:9100", {path}); });
  EXPECT_EQ(job.messages(),
            "ERROR: The document " + path + " cannot be read: No such file or directory.\n");
  EXPECT_EQ(job.wait(), 1);
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
  EXPECT_LT(Clock::now() - before, std::chrono::seconds(25));
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
