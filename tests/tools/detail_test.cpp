// Tests of the part of a page that a comparison shows, and of comparisons of large pages.
#include "tools/proof/detail.h"

#include <gtest/gtest.h>

#include "tests/tools/json_value.h"
#include "tests/tools/proof_run.h"
#include "tests/tools/raster_document.h"

namespace kestra::proof {
namespace {

using blackbox::JobCase;

std::vector<std::size_t> part(const std::string& detail, std::size_t width, std::size_t height,
                              unsigned dpi = 203) {
  const auto parsed = detail.empty() ? Detail() : parseDetail(detail);
  EXPECT_TRUE(parsed) << detail;
  const auto found = parsed ? detailOf(*parsed, width, height, {dpi, dpi}) : std::nullopt;
  if (!found) return {};
  return {found->x, found->y, found->width, found->height};
}

using Numbers = std::vector<std::size_t>;

TEST(Detail, IsTheMiddleOfLargePages) {
  // 50 mm are 399.6 dots at 203 dpi and 590.6 at 300.
  EXPECT_EQ(part("", 812, 1218), (Numbers{206, 409, 400, 400}));
  EXPECT_EQ(part("", 2480, 3508, 300), (Numbers{944, 1458, 591, 591}));
}

TEST(Detail, IsAllOfSmallPagesAndStrips) {
  EXPECT_EQ(part("", 400, 240), (Numbers{0, 0, 400, 240}));
  EXPECT_EQ(part("", 812, 639), (Numbers{0, 0, 812, 639})) << "639 dots are 79.95 mm";
  EXPECT_EQ(part("", 812, 640), (Numbers{206, 120, 400, 400})) << "640 dots are 80.08 mm";
  EXPECT_EQ(part("all", 812, 1218), (Numbers{0, 0, 812, 1218}));
}

TEST(Detail, IsThePlaceAskedForAsFarAsThePageGoes) {
  // 25.4 mm are 203 dots.
  EXPECT_EQ(part("25.4,50.8,12.7,25.4", 812, 1218), (Numbers{203, 406, 102, 203}));
  EXPECT_EQ(part("76.2,0,50.8,25.4", 812, 1218), (Numbers{609, 0, 203, 203}));
  EXPECT_EQ(part("101.6,0,10,10", 812, 1218), (Numbers{})) << "beside the page";
  EXPECT_EQ(part("0,0,0.01,10", 812, 1218), (Numbers{})) << "less than a dot";
}

TEST(Detail, IsNoOtherText) {
  for (const char* text : {"", "All", "1,2,3", "1,2,3,4,5", "1,2,0,4", "1,2,3,-4", "-1,2,3,4",
                           "1, 2,3,4", "1,2,3,4mm", "1;2;3;4", "1,2,3,1e9", "nan,1,1,1"}) {
    EXPECT_FALSE(parseDetail(text)) << text;
  }
}

// A page of 101.6 x 101.6 mm, proofed with these words; the only page of the findings.
JsonValue comparison(const ProofDirectory& directory, const std::vector<std::string>& more) {
  JobCase job;
  job.addPage(812, 812, "photo");
  std::vector<std::string> words = writeDocument(directory, job);
  words.insert(words.end(), {"--compare", "--json"});
  words.insert(words.end(), more.begin(), more.end());
  const ProofResult result = directory.run(words);
  EXPECT_EQ(result.status, 0) << result.errors;
  const auto json = parseJson(result.output);
  EXPECT_TRUE(json) << result.output;
  return json ? (*json)["documents"][0]["pages"][0] : JsonValue();
}

// The dots of a halftone's tile against the same place of the plain version.
void expectPlace(const ProofDirectory& directory, const JsonValue& page, int halftone,
                 const Numbers& place) {
  JobCase alone;
  alone.addPage(812, 812, "photo");
  alone.halftone(halftone);
  const std::vector<std::string> rows = plainLabels(alone).at(0);
  std::vector<std::string> wanted;
  for (std::size_t y = 0; y < place[3]; ++y) {
    wanted.push_back(rows[place[1] + y].substr(place[0], place[2]));
  }
  const JsonValue& tile = page["halftones"][static_cast<std::size_t>(halftone)];
  EXPECT_EQ(tile["black_dots"].number, static_cast<double>(countDots(rows))) << "of all the page";
  EXPECT_EQ(cut(readPicture(directory.path("pages-compare-1.png")),
                static_cast<std::size_t>(tile["x"].number),
                static_cast<std::size_t>(tile["y"].number), place[2], place[3]),
            wanted);
}

TEST(Detail, OfAComparisonHoldsTheVeryDots) {
  const ProofDirectory directory;
  const JsonValue middle = comparison(directory, {});
  EXPECT_EQ(middle["part_dots"][0].number, 206);
  EXPECT_EQ(middle["part_dots"][3].number, 400);
  EXPECT_LT(middle["width"].number, 2200) << "five tiles of 400 dots and what is between them";
  expectPlace(directory, middle, 2, {206, 206, 400, 400});
  const JsonValue corner = comparison(directory, {"--detail", "0,12.7,25.4,12.7"});
  expectPlace(directory, corner, 8, {0, 102, 203, 102});
  const JsonValue all = comparison(directory, {"--detail=all"});
  EXPECT_EQ(all["part_dots"].items.size(), 0U);
  expectPlace(directory, all, 9, {0, 0, 812, 812});
}

TEST(Detail, BesideThePageIsRefused) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(812, 812, "photo");
  std::vector<std::string> words = writeDocument(directory, job);
  words.insert(words.end(), {"--compare", "--detail", "200,0,10,10"});
  const ProofResult result = directory.run(words);
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.errors.find("--detail names lies beside the page of 812 x 812 dots"),
            std::string::npos)
      << result.errors;
}

}  // namespace
}  // namespace kestra::proof
