// Missing, closed and full directories.
// Why: a print must not fail because nothing can be stored, and must never leave half a page
// behind.
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/blackbox/job_case.h"
#include "tests/support/log_text.h"

namespace kestra::blackbox {

namespace {

JobCase twoPages() {
  JobCase job;
  job.addPage(16, 4, "noise");
  job.addPage(24, 3, "photo");
  return job;
}

}  // namespace

TEST(NoRoom, PrintsOnWithoutTheSpoolDirectory) {
  JobCase job = twoPages();
  job.prepare = [](ts::Sandbox& box) { box.remove(ts::kSpool); };
  job.place.debugImagesOpen = false;
  job.place.framesOpen = false;
  const ts::Result result = expectAsPlain(job);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output.size(), 14U);
}

TEST(NoRoom, LosesFramesSilentlyInAClosedDataDirectory) {
  JobCase job = twoPages();
  job.asNobody = true;
  job.marker = "";  // cannot be replaced in a closed directory
  job.prepare = [](ts::Sandbox& box) { box.permit(ts::kData, 0555); };
  job.place.framesOpen = false;
  job.place.markerOpen = false;
  const ts::Result result = expectAsPlain(job);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output.size(), 14U);
  EXPECT_FALSE(says(result, "DumpPageToFile"));
}

TEST(NoRoom, PrintsOnInAClosedSpoolDirectory) {
  JobCase job = twoPages();
  job.asNobody = true;
  job.prepare = [](ts::Sandbox& box) { box.permit(ts::kSpool, 0555); };
  job.place.debugImagesOpen = false;
  job.place.framesOpen = false;
  EXPECT_EQ(expectAsPlain(job).status, 0);
}

TEST(NoRoom, CannotReadTheCounterInALockedDataDirectory) {
  JobCase job = twoPages();
  job.asNobody = true;
  job.marker = hex("09 00");
  job.prepare = [](ts::Sandbox& box) { box.permit(ts::kData, 0700); };
  if (::geteuid() != 0) GTEST_SKIP() << "needs a second user";
  job.place.framesOpen = false;
  job.place.markerOpen = false;
  EXPECT_EQ(expectAsPlain(job).status, 0);
}

TEST(NoRoom, LosesFramesWhenAFileHasTheNameOfTheDataDirectory) {
  JobCase job = onePage(8, 1, "solid");
  job.prepare = [](ts::Sandbox& box) { box.write(ts::kData, "in the way"); };
  const ts::Result result = runFilter(job);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, hex("1B 73 01 00 00 02 01"));
  EXPECT_FALSE(says(result, "DumpPageToFile"));
  EXPECT_FALSE(says(result, "ERROR"));
  EXPECT_EQ(result.files.at(ts::kData), "in the way");
  EXPECT_EQ(result.files.size(), 5U) << "PPD, side file, the file in the way, two images";
}

TEST(NoRoom, IgnoresASideFileThatCannotBeOpened) {
  JobCase job = twoPages();
  job.prepare = [](ts::Sandbox& box) { box.makeDirectory("tmp/xxxxx.log"); };
  job.place.sideFileOpen = false;
  EXPECT_EQ(expectAsPlain(job).status, 0);
}

TEST(NoRoom, MakesTheDataDirectoryAndItsFilesPrivate) {
  ts::Sandbox box;
  box.start(prepare(onePage(8, 1, "solid"), box));
  EXPECT_EQ(box.mode(ts::kData), 0700U);
  // The print system starts filters with umask 0077.
  EXPECT_EQ(box.mode(std::string(ts::kData) + "/page_0001_jobid_000042_0000.dat"), 0600U);
  EXPECT_EQ(box.mode(std::string(ts::kData) + "/label.pgc"), 0600U);
}

TEST(NoRoom, KeepsNoPartOfAFrameThatDoesNotFitAndGoesOn) {
  // 8 x 40 dots: 22 + 40 x (2 + 51 + 1) = 2182 bytes do not fit into 2000; the images (1078 + 320)
  // do, and so does the frame of the second page.
  JobCase job;
  job.addPage(8, 40, "noise");
  job.addPage(8, 4, "noise");
  job.fileSizeLimit = 2000;
  job.place.largestFrame = 2000;
  const ts::Result result = expectAsPlain(job);
  EXPECT_EQ(result.status, 0);
  const std::string data = std::string(ts::kData) + "/";
  EXPECT_EQ(result.files.count(data + "page_0001_jobid_000042_0000.dat"), 0U);
  EXPECT_EQ(result.files.count(data + "page_0002_jobid_000042_0000.dat"), 1U);
  EXPECT_EQ(counterOf(result), hex("03 00"));
}

TEST(NoRoom, ReportsAFullDisk) {
  if (ts::currentIsolation() != ts::Isolation::kNamespace) GTEST_SKIP() << "needs a mount";
  // 8 x 100 dots: 22 + 100 x 54 = 5422 bytes on a disk of 4096; 8 x 2 fits.
  JobCase job;
  job.addPage(8, 100, "noise");
  job.addPage(8, 2, "noise");
  job.place.largestFrame = 4096;
  const plain::Outcome expected = predict(job);
  job.makeDataDirectory();
  ts::Sandbox box;
  ts::Run run = prepare(job, box);
  run.tinyDisk = true;
  const ts::Result result = box.start(run);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.signal, 0);
  EXPECT_EQ(ts::compareLogs(expected.log, result.messages), "");
  EXPECT_FALSE(says(result, "page_0001")) << "nothing was dumped as page 1";
}

}  // namespace kestra::blackbox
