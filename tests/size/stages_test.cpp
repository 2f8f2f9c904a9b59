// The programs that documents go through.
// Why: one too few or in another order, and the page is not the one that was measured.
#include "tools/size/stages.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

namespace kestra {
namespace {

struct PpdCloser {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};

// The least that is a printer description, with these lines in it.
std::unique_ptr<ppd_file_t, PpdCloser> ppdWith(const std::string& lines) {
  std::FILE* file = std::tmpfile();
  std::fputs(("*PPD-Adobe: \"4.3\"\n*FormatVersion: \"4.3\"\n*NickName: \"x\"\n" + lines).c_str(),
             file);
  std::rewind(file);
  std::unique_ptr<ppd_file_t, PpdCloser> ppd(ppdOpen(file));
  std::fclose(file);
  return ppd;
}

std::string stagesIn(ppd_file_t* ppd, const std::string& type) {
  std::string all;
  for (const std::string& stage : stagesOf(type, ppd)) all += (all.empty() ? "" : " ") + stage;
  return all;
}

constexpr char kFilters[] =
    "*cupsFilter: \"application/pdf 0 first\"\n"
    "*cupsFilter: \"application/vnd.cups-raster 0 last\"\n";

TEST(Stages, OfDocumentsAreThoseOfThePrintSystem) {
  const auto ppd = ppdWith(kFilters);
  ASSERT_NE(ppd, nullptr);
  EXPECT_EQ(stagesIn(ppd.get(), "application/pdf"), "pdftopdf gstoraster last");
  EXPECT_EQ(stagesIn(ppd.get(), "application/postscript"), "pdftopdf gstoraster last");
  EXPECT_EQ(stagesIn(ppd.get(), "text/plain"), "texttopdf pdftopdf gstoraster last");
  EXPECT_EQ(stagesIn(ppd.get(), "image/pwg-raster"), "rastertopdf pdftopdf gstoraster last");
  EXPECT_EQ(stagesIn(ppd.get(), "image/urf"), "rastertopdf pdftopdf gstoraster last");
  EXPECT_EQ(stagesIn(ppd.get(), "image/png"), "imagetoraster last");
  EXPECT_EQ(stagesIn(ppd.get(), "image/jpeg"), "imagetoraster last");
  EXPECT_EQ(stagesIn(ppd.get(), "image/x-portable-pixmap"), "imagetoraster last");
}

TEST(Stages, HaveWhatTheDescriptionPutsInFrontOfTheFilter) {
  const auto ppd = ppdWith(std::string(kFilters) +
                           "*cupsPreFilter: \"application/vnd.cups-raster 0 before\"\n"
                           "*cupsPreFilter: \"application/pdf 0 other\"\n");
  ASSERT_NE(ppd, nullptr);
  EXPECT_EQ(stagesIn(ppd.get(), "image/png"), "imagetoraster before last");
}

TEST(Stages, AreNoneWithoutAFilterForPages) {
  const auto ppd = ppdWith("*cupsFilter: \"application/pdf 0 first\"\n");
  ASSERT_NE(ppd, nullptr);
  EXPECT_EQ(stagesIn(ppd.get(), "application/pdf"), "");
}

TEST(Stages, BeginWithDotsForTwoKindsOfDocument) {
  EXPECT_TRUE(isDots("image/pwg-raster"));
  EXPECT_TRUE(isDots("image/urf"));
  EXPECT_FALSE(isDots("image/png"));
  EXPECT_FALSE(isDots("application/vnd.cups-raster"));
}

}  // namespace
}  // namespace kestra
