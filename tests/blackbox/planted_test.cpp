// Links, FIFOs and folders planted where the filter writes, and a printer that does not listen.
// Why: the filter's folders are shared and its names are known; a job must neither hang on them nor
// change what they point to, and its frames must reach the spool all the same.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>

#include "tests/blackbox/job_case.h"
#include "tests/plain/page_log.h"

namespace kestra::blackbox {

namespace fs = std::filesystem;
namespace {

constexpr char kVictim[] = "tmp/victim";
constexpr char kVictimBytes[] = "somebody's data";

JobCase stencilPage() {
  JobCase job = onePage(64, 20, "photo");
  job.halftone(8);
  return job;
}

// The ways to plant something at `path`; each leads to the victim where it can.
enum class Plant { kLink, kDanglingLink, kHardLink, kFifo, kFolder };
constexpr Plant kPlants[] = {Plant::kLink, Plant::kDanglingLink, Plant::kHardLink, Plant::kFifo,
                             Plant::kFolder};

void put(ts::Sandbox& box, Plant plant, const std::string& path) {
  const fs::path full = fs::path(box.root()) / path;
  // In the filter's eyes the tree is elsewhere, so links are relative.
  const fs::path up = fs::path(box.root()).lexically_relative(full.parent_path());
  if (plant == Plant::kLink) fs::create_symlink(up / kVictim, full);
  if (plant == Plant::kDanglingLink) fs::create_symlink(up / "tmp/made", full);
  if (plant == Plant::kHardLink) fs::create_hard_link(fs::path(box.root()) / kVictim, full);
  if (plant == Plant::kFifo) {
    ASSERT_EQ(::mkfifo(full.c_str(), 0666), 0);
  }
  if (plant == Plant::kFolder) fs::create_directory(full);
}

// Every name that an image of the next two minutes can have.
std::vector<std::string> imageNames() {
  std::vector<std::string> names;
  const std::time_t now = std::time(nullptr);
  for (std::time_t at = now; at < now + 120; ++at) {
    std::tm t = {};
    ::gmtime_r(&at, &t);
    int number = 0;
    for (const char* kind : {"origin", "dithered"}) {
      names.push_back(std::string(ts::kSpool) + "/" +
                      plain::format("%s_%d-%d-%d_%d_%d_%d_%d.bmp", kind, t.tm_year + 1900,
                                    t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec,
                                    number++));
    }
  }
  return names;
}

// The frame and the setting command leave as ever, and nothing came to the victim's place.
void expectFrameAndVictim(const JobCase& job, const ts::Result& result) {
  const plain::Outcome expected = predict(job);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, std::string(expected.output.begin(), expected.output.end()));
  const plain::Bytes& frame = expected.frames.begin()->second;
  EXPECT_EQ(onlyFrame(result), std::string(frame.begin(), frame.end()));
  EXPECT_EQ(result.files.at(kVictim), kVictimBytes);
  EXPECT_EQ(result.files.count("tmp/made"), 0U);
}

}  // namespace

TEST(Planted, NothingAtTheSideFilesNameIsFollowedOrWaitedFor) {
  for (const Plant plant : kPlants) {
    SCOPED_TRACE(static_cast<int>(plant));
    JobCase job = stencilPage();
    job.prepare = [plant](ts::Sandbox& box) {
      box.write(kVictim, kVictimBytes);
      put(box, plant, "tmp/xxxxx.log");
    };
    const ts::Result result = runFilter(job);
    expectFrameAndVictim(job, result);
    for (const auto& [name, bytes] : result.files) {
      EXPECT_EQ(bytes.find("cupsWidth"), std::string::npos) << name;
    }
  }
}

TEST(Planted, NothingAtTheNameOfADebugImageIsFollowedOrWaitedFor) {
  for (const Plant plant : kPlants) {
    SCOPED_TRACE(static_cast<int>(plant));
    JobCase job = stencilPage();
    job.prepare = [plant](ts::Sandbox& box) {
      box.write(kVictim, kVictimBytes);
      for (const auto& name : imageNames()) put(box, plant, name);
    };
    const ts::Result result = runFilter(job);
    expectFrameAndVictim(job, result);
    const std::string complaint = "WrenPrinter::saveImage: unable to open the file ";
    const std::size_t first = result.messages.find(complaint);
    ASSERT_NE(first, std::string::npos);
    EXPECT_NE(result.messages.find(complaint, first + 1), std::string::npos);
    for (const auto& [name, bytes] : result.files) {
      EXPECT_NE(bytes.substr(0, 2), "BM") << name;
    }
  }
}

TEST(Planted, NoPageIsStoredThroughALinkInPlaceOfTheDataFolder) {
  JobCase job = stencilPage();
  job.prepare = [](ts::Sandbox& box) {
    fs::create_directory(fs::path(box.root()) / "tmp/elsewhere");
    // From var/spool/cups/tmp four folders up to the tree's root.
    fs::create_symlink("../../../../tmp/elsewhere", fs::path(box.root()) / ts::kData);
  };
  const ts::Result result = runFilter(job);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output.size(), 7U);
  for (const auto& [name, bytes] : result.files) {
    EXPECT_EQ(name.find("elsewhere/"), std::string::npos) << name;
    EXPECT_EQ(name.find(".dat"), std::string::npos) << name;
  }
}

TEST(Planted, ACounterThatIsALinkOrAFifoIsNeitherReadNorWaitedForAndIsReplaced) {
  for (const Plant plant : {Plant::kLink, Plant::kDanglingLink, Plant::kFifo}) {
    SCOPED_TRACE(static_cast<int>(plant));
    JobCase job = stencilPage();
    job.place.dataDirectoryThere = true;
    job.prepare = [plant](ts::Sandbox& box) {
      box.write(kVictim, kVictimBytes);
      fs::create_directories(fs::path(box.root()) / ts::kData);
      put(box, plant, std::string(ts::kData) + "/label.pgc");
    };
    const ts::Result result = runFilter(job);
    expectFrameAndVictim(job, result);  // page number 1: nothing was read
    EXPECT_EQ(counterOf(result), std::string("\x02\0", 2));
  }
}

TEST(Listener, PagesReachTheSpoolWithStandardOutputClosed) {
  for (const bool fileArgument : {false, true}) {
    JobCase job = stencilPage();
    job.addPage(64, 20, "text");
    job.listener = ts::Listener::kClosed;
    job.fileArgument = fileArgument;
    const ts::Result result = expectAsPlain(job);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.status, 0);
  }
}

TEST(Listener, PagesReachTheSpoolWhenThePrinterHasGone) {
  JobCase job = stencilPage();
  for (int i = 0; i < 20; ++i) job.addPage(64, 20, "text");
  job.listener = ts::Listener::kGone;
  const ts::Result result = expectAsPlain(job);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.signal, 0);
}

}  // namespace kestra::blackbox
