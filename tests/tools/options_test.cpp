// Black-box tests of options, printer descriptions and programs that are not there.
//
// The print system passes over a mistyped option in silence; here it must be answered.
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

class Options : public testing::Test {
 protected:
  Options() {
    JobCase job;
    job.addPage(100, 20, "bars");
    job.ppd.allowCustomSizes(50, 500);
    words_ = writeDocument(directory_, job);
  }

  ProofResult runWith(const std::vector<std::string>& more) {
    std::vector<std::string> words = words_;
    words.insert(words.end(), more.begin(), more.end());
    return directory_.run(words);
  }

  const ProofDirectory directory_;
  std::vector<std::string> words_;
};

TEST_F(Options, OfAWrongNameAreAnsweredWithTheRightNames) {
  const ProofResult result = runWith({"-o", "Darknes=Dark"});
  EXPECT_EQ(result.status, 2);
  EXPECT_TRUE(holds(result.errors, "unknown option \"Darknes\"; this printer has:"))
      << result.errors;
  for (const char* name : {" Darkness", " HalftoneType", " PageSize", " copies", " page-ranges"}) {
    EXPECT_TRUE(holds(result.errors, name)) << name;
  }
  EXPECT_FALSE(directory_.exists("pages-1.png"));
}

TEST_F(Options, OfAWrongValueAreAnsweredWithTheRightValues) {
  const ProofResult result = runWith({"-o", "Darkness=Darker"});
  EXPECT_EQ(result.status, 2);
  EXPECT_TRUE(
      holds(result.errors, "unknown value \"Darker\" for Darkness; it can be: Light Middle Dark"))
      << result.errors;
  const ProofResult size = runWith({"-o", "PageSize=Custom.5"});
  EXPECT_EQ(size.status, 2);
  EXPECT_TRUE(holds(size.errors, "it can be: Label Wide Custom.WIDTHxHEIGHTmm")) << size.errors;
}

TEST_F(Options, ThatAreRightPassInAllForms) {
  for (const char* words : {"Darkness=Dark",
                            "darkness=dark",
                            "MirrorImage",
                            "noMirrorImage",
                            "MirrorImage=True",
                            "PageSize=Wide",
                            "PageSize=Custom.100x50mm",
                            "PageSize=Custom.10x5cm",
                            "pagesize=Custom.200.5x100",
                            "Darkness=Dark HalftoneType=Burkes",
                            "PageSize=custom.200x100",
                            "PageSize=3x2.Borderless",
                            "media=custom_60x40mm_60x40mm",
                            "media=Wide",
                            "media=Custom.100x50mm",
                            "print-scaling=none",
                            "position=top-left",
                            "fit-to-page",
                            "landscape",
                            "copies=2",
                            "page-ranges=1-2,4",
                            "number-up=2",
                            "orientation-requested=4"}) {
    EXPECT_EQ(runWith({"-o", words}).status, 0) << words;
  }
}

TEST_F(Options, OfWhichOneIsWrongStopAll) {
  for (const char* words :
       {"Darkness=Dark HalftoneType=Burks", "copies=0", "copies=many", "MirrorImage=yes",
        "PageSize=Custom.axb", "PageSize=A0", "noDarkness", "media=A0", "print-scaling=nothing",
        "position=corner", "page-ranges=one", "page-ranges=1-2-3", "number-up=3", "landscape=maybe",
        "PageSize=Custom.0x40mm", "media=Custom.40x0.1mm", "PageSize=Custom.50x501", ""}) {
    EXPECT_EQ(runWith({"-o", words}).status, 2) << words;
  }
  EXPECT_FALSE(directory_.exists("pages-1.png"));
}

TEST_F(Options, AreListedWhereTheyAreAskedFor) {
  const ProofResult listed = directory_.run({"--ppd", "printer.ppd", "-o", "Darkness=?"});
  EXPECT_EQ(listed.status, 0) << listed.errors;
  EXPECT_EQ(listed.output,
            "Darkness can be:\n  Light: Light\n  Middle: Middle\n  Dark: Dark\n"
            "  Darkest: Darkest\n  dark2: dark2\n");
  const ProofResult scaling = runWith({"-o", "print-scaling=?", "-o", "media=?", "-o", "ppi=?"});
  EXPECT_EQ(scaling.status, 0) << scaling.errors;
  EXPECT_TRUE(holds(scaling.output, "print-scaling can be:\n  auto\n  auto-fit\n  fill\n"))
      << scaling.output;
  EXPECT_TRUE(holds(scaling.output, "media can be:\n  Label")) << scaling.output;
  EXPECT_TRUE(holds(scaling.output, "ppi has no list of values\n")) << scaling.output;
  EXPECT_FALSE(directory_.exists("pages-1.png"));
  const ProofResult unknown = runWith({"-o", "Darknes=?"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_TRUE(holds(unknown.errors, "unknown option \"Darknes\"")) << unknown.errors;
}

TEST_F(Options, OfTheWrongSizeAreToldTheRightOnes) {
  const ProofResult media = runWith({"-o", "media=A0"});
  EXPECT_TRUE(holds(media.errors, "unknown value \"A0\" for media; it can be: Label Wide"))
      << media.errors;
  // 500 points are 176.4 mm.
  const ProofResult high = runWith({"-o", "PageSize=Custom.50x501"});
  EXPECT_TRUE(holds(high.errors, "Custom.WIDTHxHEIGHTmm of at most 176 mm height")) << high.errors;
  EXPECT_TRUE(holds(runWith({"-o", "page-ranges=one"}).errors, "for example 1-3,5"));
}

TEST_F(Options, GivenTwiceCountOnce) {
  JobCase job;
  job.addPage(100, 20, "bars");
  job.addPage(100, 20, "photo");
  job.halftone(5);
  std::vector<std::string> words = writeDocument(directory_, job);
  words.insert(words.begin(), {"-o", "HalftoneType=None"});
  EXPECT_EQ(directory_.run(words).status, 0);
  EXPECT_EQ(readPicture(directory_.path("pages-2.png")).rows, plainLabels(job).at(1));
}

TEST(PrinterDescription, IsFoundByItsModel) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(812, 20, "bars");
  writeDocument(directory, job);
  // The label head has 832 dots, the stencil head 1728, with an edge of 2 dots on both sides.
  EXPECT_EQ(directory.run({"--margins", "pages.ras"}).status, 0);
  EXPECT_EQ(readPicture(directory.path("pages-1.png")).width, 836U);
  EXPECT_EQ(directory.run({"--margins", "--model", "stencil", "pages.ras"}).status, 0);
  EXPECT_EQ(readPicture(directory.path("pages-1.png")).width, 1732U);
}

TEST(PrinterDescription, ThatCannotBeReadIsNamed) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "bars");
  writeDocument(directory, job);
  directory.writeText("no.ppd", "this is none\n");
  for (const char* name : {"no.ppd", "missing.ppd"}) {
    const ProofResult result = directory.run({"--ppd", name, "pages.ras"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(holds(result.errors, std::string(name) + " is no printer description"))
        << result.errors;
  }
}

TEST(MissingProgram, IsToldWithThePackageToInstall) {
  const ProofDirectory directory;
  directory.writeText("text.txt", "words\n");
  directory.writeText("page.ps", "%!PS\nshowpage\n");
  directory.writeText("picture.png", "\x89PNG\r\n\x1A\n");
  const Environment noFilters = {{"CUPS_FILTER_DIR", directory.path("nowhere")}};
  const ProofResult text = directory.run({"text.txt"}, {}, noFilters);
  EXPECT_EQ(text.status, 1);
  EXPECT_TRUE(holds(text.errors, "texttopdf is missing in ") &&
              holds(text.errors, "install the package cups-filters"))
      << text.errors;
  EXPECT_TRUE(holds(directory.run({"page.ps"}, {}, noFilters).errors,
                    "install the package cups-filters-core-drivers"));
  EXPECT_TRUE(holds(directory.run({"picture.png"}, {}, noFilters).errors, "imagetoraster"));
  const ProofResult ghostscript = directory.run({"page.ps"}, {}, {{"PATH", "/nowhere"}});
  EXPECT_EQ(ghostscript.status, 1);
  EXPECT_TRUE(
      holds(ghostscript.errors, "gs is missing on the PATH; install the package ghostscript"))
      << ghostscript.errors;
}

TEST(MissingProgram, IsOneThatCannotBeExecuted) {
  const ProofDirectory directory;
  directory.writeText("picture.png", "\x89PNG\r\n\x1A\n");
  directory.writeText("imagetoraster", "#!/bin/sh\necho 'ERROR: no such picture' >&2\nexit 3\n");
  const Environment here = {{"CUPS_FILTER_DIR", directory.path(".")}};
  EXPECT_TRUE(holds(directory.run({"picture.png"}, {}, here).errors, "imagetoraster is missing"));
  ASSERT_EQ(chmod(directory.path("imagetoraster").c_str(), 0755), 0);
  const ProofResult result = directory.run({"picture.png"}, {}, here);
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(holds(result.errors, "the renderer ended with status 3") &&
              holds(result.errors, "ERROR: no such picture"))
      << result.errors;
}

}  // namespace
}  // namespace kestra
