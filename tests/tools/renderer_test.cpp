// Black-box tests of renderers that fail, and of where renderers are looked for.
//
// A document half of which was drawn must not pass for a whole one. The renderers here are scripts,
// so that they fail as wanted.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/tools/proof_run.h"
#include "tests/tools/raster_document.h"

namespace kestra {
namespace {

using blackbox::JobCase;

bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

class Renderer : public testing::Test {
 protected:
  void writeScript(const std::string& name, const std::string& lines) const {
    directory_.writeText(name, "#!/bin/sh\n" + lines);
    ASSERT_EQ(chmod(directory_.path(name).c_str(), 0755), 0);
  }

  // Prints a picture that this script draws.
  ProofResult draw(const std::string& lines) const {
    writeScript("imagetoraster", lines);
    directory_.writeText("picture.png", "\x89PNG\r\n\x1A\n");
    return directory_.run({"picture.png", "--ppd", "printer.ppd"}, {},
                          {{"CUPS_FILTER_DIR", directory_.path(".")}});
  }

  // A raster stream of so many pages, and a printer description for it.
  void writePages(int pages) const {
    JobCase job;
    for (int page = 0; page < pages; ++page) job.addPage(100, 20, "bars");
    writeDocument(directory_, job);
  }

  const ProofDirectory directory_;
};

TEST_F(Renderer, ThatFailsBehindItsPagesIsAFailure) {
  writePages(2);
  const std::string pages = "cat '" + directory_.path("pages.ras") + "'\n";
  EXPECT_EQ(draw(pages).status, 0);
  EXPECT_TRUE(directory_.exists("picture-2.png"));
  const ProofResult result = draw(pages + "echo 'ERROR: page 3 is broken' >&2\nexit 7\n");
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(holds(result.errors, "status 7") && holds(result.errors, "page 3 is broken"))
      << result.errors;
  const ProofResult killed = draw(pages + "kill -KILL $$\n");
  EXPECT_EQ(killed.status, 1);
  EXPECT_TRUE(holds(killed.errors, "signal 9")) << killed.errors;
}

// Without the stage that fits pages a picture of 102 dots is printed askew; it has no page size
// that could be chosen.
TEST_F(Renderer, OfASkewedPictureIsToldToGetAPdf) {
  JobCase job;
  job.addPage(102, 20, "bars");
  writeDocument(directory_, job);
  const ProofResult result = draw("cat '" + directory_.path("pages.ras") + "'\n");
  EXPECT_TRUE(holds(result.errors, "skewed")) << result.errors;
  EXPECT_TRUE(holds(result.errors, "convert the picture to PDF")) << result.errors;
  EXPECT_FALSE(holds(result.errors, "choose a page size")) << result.errors;
}

// A renderer's last line says why it gave up; what it did before is of no interest.
TEST_F(Renderer, IsToldByItsLastLines) {
  writePages(1);
  const ProofResult result = draw(
      "for line in 1 2 3 4 5 6 7 8; do echo \"ERROR: step $line\" >&2; done\n"
      "echo 'DEBUG: step 9' >&2\necho 'INFO: step 10' >&2\nexit 3\n");
  EXPECT_EQ(result.status, 1);
  // Five lines are shown.
  for (const char* line : {"step 4", "step 5", "step 6", "step 7", "step 8"}) {
    EXPECT_TRUE(holds(result.errors, line)) << line << " in " << result.errors;
  }
  for (const char* line : {"step 1", "step 2", "step 3", "step 9"}) {
    EXPECT_FALSE(holds(result.errors, line)) << line << " in " << result.errors;
  }
}

// Whoever unpacks a document must not run what lies beside it.
TEST_F(Renderer, IsNotTakenFromTheDocumentsFolder) {
  writeScript("gs", "touch '" + directory_.path("ran") + "'\n");
  directory_.writeText("page.ps", "%!PS\nshowpage\n");
  for (const char* path : {".", "", ".:/nowhere", "/nowhere:", "../files"}) {
    const ProofResult result = directory_.run({"page.ps"}, {}, {{"PATH", path}});
    EXPECT_EQ(result.status, 1) << path;
    EXPECT_TRUE(holds(result.errors, "gs is missing")) << path << ": " << result.errors;
    EXPECT_FALSE(directory_.exists("ran")) << path;
  }
}

}  // namespace
}  // namespace kestra
