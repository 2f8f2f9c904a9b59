// Black-box tests of printed documents: the pictures show the very dots that the filter makes.
//
// A proof that differs from the print in one dot is worth nothing, so every dot is compared with
// the plain version of the filter.
#include <gtest/gtest.h>
#include <png.h>

#include <fstream>

#include "tests/support/sanitized.h"
#include "tests/tools/json_value.h"
#include "tests/tools/proof_run.h"
#include "tests/tools/raster_document.h"

namespace kestra {
namespace {

using blackbox::JobCase;
using Names = std::vector<std::string>;

// 203 / 0.0254 and 300 / 0.0254 dots per metre, rounded.
constexpr unsigned kMetre203 = 7992;
constexpr unsigned kMetre300 = 11811;

bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

class EveryHalftone : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Document, EveryHalftone, testing::Range(0, 10));

TEST_P(EveryHalftone, DrawsTheDotsOfThePlainVersion) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 40, "photo");
  job.halftone(GetParam());
  const ProofResult result = directory.run(writeDocument(directory, job));
  EXPECT_EQ(result.status, 0) << result.errors;
  const Picture picture = readPicture(directory.path("pages-1.png"));
  EXPECT_EQ(picture.rows, plainLabels(job).at(0));
  EXPECT_EQ(picture.bitDepth, 1);
  EXPECT_EQ(picture.colourType, PNG_COLOR_TYPE_GRAY);
}

TEST(Document, TakesOptionsAsTheFilterDoes) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(132, 33, "gradient");
  job.halftone(8);
  job.mirror();
  job.negative();
  job.barcode(2);
  job.brightness(-20);
  EXPECT_EQ(directory.run(writeDocument(directory, job)).status, 0);
  EXPECT_EQ(readPicture(directory.path("pages-1.png")).rows, plainLabels(job).at(0));
}

TEST(Document, DrawsEveryPageUnderItsNumber) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "bars");
  job.addPage(64, 9, "noise");
  job.addPage(200, 31, "text");
  job.compressed = true;
  std::vector<std::string> words = writeDocument(directory, job);
  const ProofResult result = directory.run(words);
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(directory.names(),
            (Names{"pages-1.png", "pages-2.png", "pages-3.png", "pages.ras", "printer.ppd"}));
  for (std::size_t page = 0; page < 3; ++page) {
    const std::string name = "pages-" + std::to_string(page + 1) + ".png";
    EXPECT_EQ(readPicture(directory.path(name)).rows, plainLabels(job).at(page)) << name;
  }
  EXPECT_TRUE(
      holds(result.output,
            "pages.ras: page 3:\n  size:         200 x 31 dots, 25.0 x 3.9 mm at 203 dpi\n"))
      << result.output;
  EXPECT_EQ(result.errors, "");
}

TEST(Document, PutsThePhysicalSizeIntoThePicture) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "bars", 0, 203);
  job.addPage(100, 20, "bars", 0, 300);
  EXPECT_EQ(directory.run(writeDocument(directory, job)).status, 0);
  EXPECT_EQ(readPicture(directory.path("pages-1.png")).dotsPerMetre, kMetre203);
  EXPECT_EQ(readPicture(directory.path("pages-2.png")).dotsPerMetre, kMetre300);
}

TEST(Document, KeepsTheTwoResolutionsOfAPageApart) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "bars");
  job.pages[0].header.HWResolution[1] = 300;
  std::vector<std::string> words = writeDocument(directory, job);
  words.emplace_back("--json");
  const ProofResult result = directory.run(words);
  EXPECT_EQ(result.status, 0) << result.errors;
  const Picture picture = readPicture(directory.path("pages-1.png"));
  EXPECT_EQ(picture.dotsPerMetre, 0U) << "not the same both ways";
  EXPECT_EQ(picture.dotsPerMetreDown, kMetre300);
  const auto json = parseJson(result.output);
  ASSERT_TRUE(json) << result.output;
  const JsonValue& page = (*json)["documents"][0]["pages"][0];
  EXPECT_EQ(page["dpi"][0].number, 203);
  EXPECT_EQ(page["dpi"][1].number, 300);
}

TEST(Document, ScalesDotsAndKeepsThePhysicalSize) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "noise");
  std::vector<std::string> words = writeDocument(directory, job);
  words.insert(words.end(), {"--scale", "3"});
  EXPECT_EQ(directory.run(words).status, 0);
  const Picture picture = readPicture(directory.path("pages-1.png"));
  EXPECT_EQ(picture.rows, enlarge(plainLabels(job).at(0), 3));
  EXPECT_EQ(picture.dotsPerMetre, 23976U);  // 3 x 203 / 0.0254 = 23976.4
}

TEST(Document, ShowsMarginsInColours) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "noise");
  std::vector<std::string> words = writeDocument(directory, job);
  words.emplace_back("--margins");
  EXPECT_EQ(directory.run(words).status, 0);
  const Picture picture = readPicture(directory.path("pages-1.png"));
  // The head has 288 pt, 812 dots at 203 dpi; an edge of 2 dots on both sides. Down: edge, 20 rows,
  // edge, and the gap of 2 mm, 15 dots.
  ASSERT_EQ(picture.width, 816U);
  ASSERT_EQ(picture.height, 39U);
  // The margin is ((812 - 100) / 2 + 7) / 8 = 45 bytes, 360 dots.
  const std::vector<std::string> page = plainPages(job).at(0);
  for (std::size_t y = 0; y < page.size(); ++y) {
    EXPECT_EQ(picture.rows[y + 2].substr(362, 100), page[y].substr(360, 100)) << "row " << y;
  }
  constexpr std::uint32_t kRed = 0xDC1E1E;
  constexpr std::uint32_t kBlue = 0xC8DCF5;
  constexpr std::uint32_t kYellow = 0xFAE696;
  for (const std::size_t x : {360U, 361U, 462U, 463U}) EXPECT_EQ(picture.colours[10][x], kRed) << x;
  for (const std::size_t x : {0U, 359U, 464U, 815U}) EXPECT_EQ(picture.colours[10][x], kBlue) << x;
  for (const std::size_t y : {0U, 1U, 22U, 23U}) EXPECT_EQ(picture.colours[y][400], kRed) << y;
  for (const std::size_t y : {24U, 38U}) EXPECT_EQ(picture.colours[y][400], kYellow) << y;
  EXPECT_EQ(picture.dotsPerMetre, kMetre203);
}

TEST(Document, ShowsMarksButNoGapOnContinuousPaper) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "noise");
  job.choose("PaperType", "Continue");
  std::vector<std::string> words = writeDocument(directory, job);
  words.emplace_back("--margins");
  EXPECT_EQ(directory.run(words).status, 0);
  EXPECT_EQ(readPicture(directory.path("pages-1.png")).height, 24U);
  JobCase marks;
  marks.addPage(100, 20, "noise");
  marks.choose("PaperType", "LabelMark");
  words = writeDocument(directory, marks);
  words.emplace_back("--margins");
  EXPECT_EQ(directory.run(words).status, 0);
  const Picture picture = readPicture(directory.path("pages-1.png"));
  ASSERT_EQ(picture.height, 39U);
  EXPECT_EQ(picture.colours[38][400], 0x6E6E6EU);
}

TEST(Document, NamesTheOnlyPictureAsAsked) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "bars");
  std::vector<std::string> words = writeDocument(directory, job);
  words.insert(words.end(), {"--output", "mine.png"});
  EXPECT_EQ(directory.run(words).status, 0);
  EXPECT_EQ(directory.names(), (Names{"mine.png", "pages.ras", "printer.ppd"}));
  job.addPage(100, 20, "bars");
  words = writeDocument(directory, job);
  words.insert(words.end(), {"--output", "mine.png"});
  const ProofResult result = directory.run(words);
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(holds(result.errors, "pages.ras: page 2: there are more pages than the one in"))
      << result.errors;
}

TEST(Document, PutsPicturesIntoTheDirectoryAsked) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "bars");
  std::vector<std::string> words = writeDocument(directory, job);
  directory.write("other.ras", directory.read("pages.ras"));
  words.insert(words.end(), {"other.ras", "--output-dir", "../files"});
  EXPECT_EQ(directory.run(words).status, 0);
  EXPECT_TRUE(directory.exists("pages-1.png"));
  EXPECT_TRUE(directory.exists("other-1.png"));
}

TEST(Document, IsNeverWrittenOver) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "bars");
  const std::vector<std::string> document = writeDocument(directory, job);
  for (const char* input : {"pages.ras", "printer.ppd"}) {
    const Bytes before = directory.read(input);
    std::vector<std::string> words = document;
    words.insert(words.end(), {"--output", input});
    const ProofResult result = directory.run(words);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(holds(result.errors, "is an input and is not written over")) << result.errors;
    EXPECT_EQ(directory.read(input), before);
  }
}

TEST(Document, KeepsWhatThePrintLeaves) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "bars");
  job.addPage(100, 20, "photo");
  std::vector<std::string> words = writeDocument(directory, job);
  words.insert(words.end(), {"--keep", "left"});
  EXPECT_EQ(directory.run(words).status, 0);
  // The raster bytes and the commands are those of the job: two of 7 bytes.
  EXPECT_EQ(directory.read("left/pages.ras"), directory.read("pages.ras"));
  EXPECT_EQ(directory.read("left/commands.bin"),
            (Bytes{0x1B, 0x73, 1, 0, 0, 2, 1, 0x1B, 0x73, 1, 0, 0, 2, 1}));
  EXPECT_EQ(directory.read("left/proof.pgc"), (Bytes{3, 0}));
  const auto frames = blackbox::predict(job).frames;
  EXPECT_EQ(directory.read("left/page_0001_jobid_000001_0000.dat"),
            frames.at("page_0001_jobid_000042_0000.dat"));
  EXPECT_EQ(directory.read("left/page_0002_jobid_000001_0000.dat"),
            frames.at("page_0002_jobid_000042_0000.dat"));
  std::size_t images = 0;
  for (const std::string& name : directory.names("left")) images += holds(name, ".bmp") ? 1U : 0U;
  EXPECT_EQ(images, 4U);  // each page before and after the halftone
  EXPECT_TRUE(directory.exists("left/filter.log"));
  EXPECT_EQ(directory.run(words).status, 1) << "a directory with files in it is not written to";
}

TEST(Document, SaysWhatTheFilterComplainsAbout) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "bars");
  job.addPage(100, 20, "bars");
  job.pages[1].header.cupsBitsPerPixel = 1;
  job.pages[1].header.cupsBitsPerColor = 1;
  job.stream = testing_support::rawStream(job.pages);
  const ProofResult result = directory.run(writeDocument(directory, job));
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(holds(result.errors, "pages.ras: the filter ended with status 1")) << result.errors;
  EXPECT_TRUE(holds(result.errors, "Requires 8 bits per pixel!")) << result.errors;
  EXPECT_TRUE(directory.exists("pages-1.png"));
  EXPECT_FALSE(directory.exists("pages-2.png"));
}

TEST(Document, SaysWhenAPageBreaksOff) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "bars");
  job.addPage(100, 20, "bars");
  std::string stream = testing_support::rawStream(job.pages);
  stream.resize(stream.size() - 700);
  job.stream = stream;
  const ProofResult result = directory.run(writeDocument(directory, job));
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(holds(result.errors, "page 2: its pixels break off")) << result.errors;
  EXPECT_TRUE(directory.exists("pages-1.png"));
}

TEST(Document, WithoutPagesIsAFailure) {
  const ProofDirectory directory;
  JobCase job;
  job.stream = "RaS3";
  const ProofResult result = directory.run(writeDocument(directory, job));
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(holds(result.errors, "the document gave no pages")) << result.errors;
}

// Proofs a document of so many pages of 325 kB and returns the most memory that took, in kB. This
// process must not hold the document itself: its memory counts for a child until that one executes
// another program.
long peakOf(int pages, const std::vector<std::string>& rows) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(812, 400, "noise");
  const std::vector<std::string> words = writeDocument(directory, job);
  constexpr std::size_t kSyncWord = 4;
  const std::string stream = testing_support::rawStream(job.pages);
  {
    std::ofstream file(directory.path("pages.ras"), std::ios::binary);
    file << stream.substr(0, kSyncWord);
    for (int page = 0; page < pages; ++page) file << stream.substr(kSyncWord);
  }
  const ProofResult result = directory.run(words);
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(directory.names().size(), static_cast<std::size_t>(pages) + 2);
  const std::string last = "pages-" + std::to_string(pages) + ".png";
  EXPECT_EQ(readPicture(directory.path(last)).rows, rows);
  return result.peak;
}

TEST(Document, OfManyPagesNeedsNoMoreMemoryThanOneOfFew) {
  JobCase job;
  job.addPage(812, 400, "noise");
  const std::vector<std::string> rows = plainLabels(job).at(0);
  const long few = peakOf(3, rows);
  const long many = peakOf(120, rows);
#ifdef KESTRA_SANITIZED
  GTEST_SKIP() << "the sanitizer keeps freed memory, so memory is not compared";
#endif
  // 120 pages are 39 MB, their frames and debug images more than twice as much.
  EXPECT_LT(many, few + 8000) << "kB; for 3 pages " << few;
}

TEST(Document, OfAnImpossibleResolutionEndsInWordsOrPictures) {
  const ProofDirectory directory;
  for (const unsigned dpi : {0U, 1U, 4294967295U}) {
    JobCase job;
    job.addPage(100, 20, "bars", 0, dpi);
    std::vector<std::string> words = writeDocument(directory, job);
    words.insert(words.end(), {"--margins", "--json"});
    const ProofResult result = directory.run(words);
    EXPECT_TRUE(result.status == 0 || result.status == 1) << dpi << ", signal " << result.signal;
    EXPECT_TRUE(parseJson(result.output)) << result.output;
  }
}

}  // namespace
}  // namespace kestra
