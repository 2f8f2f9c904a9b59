// Black-box tests of what a proof leaves behind: nothing, also when it is stopped half-way.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <thread>

#include "tests/tools/proof_run.h"
#include "tests/tools/raster_document.h"

namespace kestra {
namespace {

using blackbox::JobCase;

// A renderer that says that it has begun and then goes on for ever.
void writeEndlessRenderer(const ProofDirectory& directory, const std::string& start) {
  directory.writeText("imagetoraster",
                      "#!/bin/sh\n" + start + "\necho $$ >\"$TMPDIR/../../../begun\"\n" +
                          "sleep 600 &\necho $! >>\"$TMPDIR/../../../begun\"\nwait\n" +
                          "sleep 600\n");
  ASSERT_EQ(chmod(directory.path("imagetoraster").c_str(), 0755), 0);
  directory.writeText("picture.png", "\x89PNG\r\n\x1A\n");
}

// The processes that the renderer has noted down; empty where it does not begin in a minute.
std::vector<pid_t> waitForRenderer(const ProofDirectory& directory) {
  for (int i = 0; i < 6000; ++i) {
    std::vector<pid_t> processes;
    std::string number;
    for (const std::uint8_t byte : directory.read("../begun")) {
      if (byte != '\n') {
        number += static_cast<char>(byte);
        continue;
      }
      processes.push_back(std::stoi(number));
      number.clear();
    }
    if (processes.size() == 2) return processes;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return {};
}

// Whether a process has ended within a minute, a dead one that nobody has asked for included.
bool hasEnded(pid_t process) {
  for (int i = 0; i < 6000; ++i) {
    if (kill(process, 0) != 0) return true;
    const Bytes status = [&] {
      std::FILE* file = std::fopen(("/proc/" + std::to_string(process) + "/stat").c_str(), "rb");
      Bytes bytes(200);
      if (file == nullptr) return Bytes{};
      bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
      std::fclose(file);
      return bytes;
    }();
    if (std::string(status.begin(), status.end()).find(") Z ") != std::string::npos) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

class Interrupt : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Signals, Interrupt, testing::Values(SIGTERM, SIGINT, SIGHUP),
                         [](const auto& each) { return sigabbrev_np(each.param); });

TEST_P(Interrupt, LeavesNoDirectoryAndNoProcess) {
  const ProofDirectory directory;
  writeEndlessRenderer(directory, ":");
  const pid_t proof =
      directory.start({"picture.png"}, {}, {{"CUPS_FILTER_DIR", directory.path(".")}});
  const std::vector<pid_t> processes = waitForRenderer(directory);
  EXPECT_EQ(processes.size(), 2U);
  EXPECT_EQ(directory.temporaries().size(), 1U) << "there is something to clean up";
  kill(proof, GetParam());
  const ProofResult result = directory.finish(proof);  // expects no temporary files
  EXPECT_EQ(result.signal, GetParam());
  for (const pid_t process : processes) EXPECT_TRUE(hasEnded(process)) << process;
}

TEST(StubbornRenderer, IsEndedAsWell) {
  const ProofDirectory directory;
  writeEndlessRenderer(directory, "trap '' TERM");
  const pid_t proof =
      directory.start({"picture.png"}, {}, {{"CUPS_FILTER_DIR", directory.path(".")}});
  const std::vector<pid_t> processes = waitForRenderer(directory);
  EXPECT_EQ(processes.size(), 2U);
  kill(proof, SIGTERM);
  EXPECT_EQ(directory.finish(proof).signal, SIGTERM);
  for (const pid_t process : processes) EXPECT_TRUE(hasEnded(process)) << process;
}

TEST(PrivateDirectory, IsOfNobodyElse) {
  const ProofDirectory directory;
  writeEndlessRenderer(directory, ":");
  const pid_t proof =
      directory.start({"picture.png"}, {}, {{"CUPS_FILTER_DIR", directory.path(".")}});
  EXPECT_EQ(waitForRenderer(directory).size(), 2U);
  const std::vector<std::string> names = directory.temporaries();
  ASSERT_EQ(names.size(), 1U);
  struct stat status = {};
  EXPECT_EQ(stat(directory.path("../temporary/" + names[0]).c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700U);
  kill(proof, SIGTERM);
  directory.finish(proof);
}

TEST(PrivateDirectory, ThatCannotBeMadeIsTold) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "bars");
  const ProofResult result =
      directory.run(writeDocument(directory, job), {}, {{"TMPDIR", directory.path("nowhere")}});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.errors.find("set TMPDIR to a place with room"), std::string::npos)
      << result.errors;
}

// The filter's fixed places on this machine, with the time of their last change.
std::map<std::string, std::filesystem::file_time_type> fixedPlaces() {
  namespace fs = std::filesystem;
  std::map<std::string, fs::file_time_type> places;
  std::error_code error;
  for (const char* place : {"/tmp/xxxxx.log", "/var/spool/cups/tmp/kcv6data"}) {
    const fs::file_time_type time = fs::last_write_time(place, error);
    if (!error) places[place] = time;
  }
  return places;
}

TEST(Spool, OfTheMachineIsNotTouched) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "bars");
  const std::vector<std::string> words = writeDocument(directory, job);
  bool isUntouched = false;
  for (int attempt = 0; attempt < 5 && !isUntouched;
       ++attempt) {  // the machine may print beside us
    const auto before = fixedPlaces();
    EXPECT_EQ(directory.run(words).status, 0);
    isUntouched = fixedPlaces() == before;
  }
  EXPECT_TRUE(isUntouched);
  EXPECT_EQ(directory.names(),
            (std::vector<std::string>{"pages-1.png", "pages.ras", "printer.ppd"}));
}

}  // namespace
}  // namespace kestra
