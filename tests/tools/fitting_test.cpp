// Black-box tests of pages that are fitted before the filter: what a proof shows of any width.
//
// A page that comes out straight and whole on paper must not be shown slanted, nor the reverse.
#include <gtest/gtest.h>

#include "tests/fit/plain_fit.h"
#include "tests/tools/proof_run.h"
#include "tests/tools/raster_document.h"

namespace kestra {
namespace {

using blackbox::JobCase;

constexpr unsigned kHead = 812;  // dots of a head of 288 points at 203 dots per inch

// Proofs of the job, its printer description naming the stage or not.
ProofResult proofOf(const ProofDirectory& directory, const JobCase& job, bool fits) {
  const std::vector<std::string> words = writeDocument(directory, job);
  const Bytes ppd = directory.read("printer.ppd");
  std::string text(ppd.begin(), ppd.end());
  if (fits) text += "*cupsPreFilter: \"application/vnd.cups-raster 0 kestrafit\"\n";
  directory.writeText("printer.ppd", text);
  return directory.run(words);
}

JobCase pagesOf(const std::vector<unsigned>& widths) {
  JobCase job;
  for (const unsigned width : widths) job.addPage(width, 30, "photo");
  job.halftone(2);
  return job;
}

TEST(Fitting, ShowsThePagesThatAJobPrints) {
  const JobCase job = pagesOf({100, 101, 102, 103, 900, 811});
  const ProofDirectory directory;
  const ProofResult result = proofOf(directory, job, true);
  EXPECT_EQ(result.status, 0) << result.errors;
  JobCase fitted = job;
  fitted.pages = fit_tests::plainFit(job.pages, kHead);
  const auto labels = plainLabels(fitted);
  ASSERT_EQ(labels.size(), 6U);
  for (std::size_t i = 0; i < labels.size(); ++i) {
    const Picture picture = readPicture(directory.path("pages-" + std::to_string(i + 1) + ".png"));
    EXPECT_EQ(picture.rows, labels[i]) << "page " << i + 1;
  }
}

TEST(Fitting, WarnsOfEachPageThatIsCutAndOfNoOther) {
  const ProofDirectory directory;
  const ProofResult result = proofOf(directory, pagesOf({101, 912, 812, 912}), true);
  // 100 dots are 100 / 203 * 25.4 = 12.5 mm.
  const std::string words =
      " is 12.5 mm (100 dots) wider than the print head: 6.3 mm (50 dots) on the left and 6.3 mm "
      "(50 dots) on the right are not printed; choose a narrower page size\n";
  EXPECT_EQ(result.errors, "kestra-proof: warning: pages.ras: page 2" + words +
                               "kestra-proof: warning: pages.ras: page 4" + words);
}

TEST(Fitting, IsLeftOutWhereThePrinterDescriptionDoesNotNameIt) {
  const JobCase job = pagesOf({101});
  const ProofDirectory directory;
  const ProofResult result = proofOf(directory, job, false);
  EXPECT_NE(result.errors.find("skewed"), std::string::npos) << result.errors;
  EXPECT_EQ(readPicture(directory.path("pages-1.png")).rows, plainLabels(job).at(0));
}

TEST(Fitting, OfADocumentThatBreaksOffShowsItsWholePages) {
  JobCase job = pagesOf({101, 102});
  const std::string stream = testing_support::rawStream(job.pages);
  job.stream = stream.substr(0, stream.size() - 1);
  const ProofDirectory directory;
  const std::vector<std::string> words = writeDocument(directory, job);
  directory.writeText("pages.ras", *job.stream);
  const Bytes ppd = directory.read("printer.ppd");
  directory.writeText("printer.ppd",
                      std::string(ppd.begin(), ppd.end()) +
                          "*cupsPreFilter: \"application/vnd.cups-raster 0 kestrafit\"\n");
  const ProofResult result = directory.run(words);
  EXPECT_NE(result.status, 0);
  EXPECT_NE(result.errors.find("its pixels break off"), std::string::npos) << result.errors;
  EXPECT_TRUE(directory.exists("pages-1.png"));
  EXPECT_FALSE(directory.exists("pages-2.png"));
}

}  // namespace
}  // namespace kestra
