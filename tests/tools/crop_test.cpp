// Black-box tests of --crop: pages with a label go in, a PDF of labels and their proofs come out.
// Why: what is cut off, made smaller or written over here is lost before it is printed.
#include <gtest/gtest.h>

#include "tests/tools/proof_run.h"
#include "tools/crop/crop_document.h"

namespace kestra {
namespace {

constexpr const char* kA4 = "%!PS-Adobe-3.0\n<< /PageSize [595 842] >> setpagedevice\n";

// A 4 x 6 inch label whose lower left corner is at x y: a border of 8 points, its outer edge the
// label's, and a square inch in the lower left corner of that.
std::string label(int x, int y, const std::string& turn = "") {
  return "gsave " + std::to_string(x) + " " + std::to_string(y) + " translate " + turn +
         " 8 setlinewidth 4 4 280 424 rectstroke 8 8 72 72 rectfill grestore\n";
}

std::string page(const std::string& drawing) { return kA4 + drawing + "showpage\n"; }

bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// The label as it lies in a picture of 812 x 1218 dots: the border is 22 or 23 dots thick and its
// square ends (8 + 72) / 72 x 203 = 225.6 dots from the left and from below. The search finds the
// label to half a point, 1.4 dots.
void expectLabel(const Picture& picture) {
  ASSERT_EQ(picture.width, 812U);
  ASSERT_EQ(picture.height, 1218U);
  const auto black = [&picture](std::size_t x, std::size_t y) { return picture.rows[y][x] == '#'; };
  for (std::size_t y : {std::size_t{4}, std::size_t{600}, std::size_t{1213}}) {
    EXPECT_TRUE(black(4, y) && black(807, y)) << "the border beside row " << y;
  }
  EXPECT_TRUE(black(400, 4) && black(400, 1213));
  EXPECT_TRUE(black(17, 400));
  EXPECT_FALSE(black(28, 400));
  EXPECT_TRUE(black(222, 1218 - 222));
  EXPECT_FALSE(black(230, 1218 - 222));
  EXPECT_FALSE(black(222, 1218 - 230));
  EXPECT_FALSE(black(400, 600));
}

TEST(Crop, WritesTheLabelInItsOwnSizeAndProofsIt) {
  const ProofDirectory directory;
  directory.writeText("shop.ps", page(label(150, 200) + "20 30 500 60 rectfill\n"));
  const ProofResult result = directory.run({"--crop", "shop.ps"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(directory.names(),
            (std::vector<std::string>{"shop-crop-1.png", "shop-crop.pdf", "shop.ps"}));
  expectLabel(readPicture(directory.path("shop-crop-1.png")));
}

TEST(Crop, TurnsALabelThatLiesOnItsSide) {
  const ProofDirectory directory;
  // Turned by 90 degrees, the label lies to the left of its corner: 68 to 500.
  directory.writeText("shop.ps", page(label(500, 500, "90 rotate")));
  EXPECT_EQ(directory.run({"--crop", "shop.ps"}).status, 0);
  expectLabel(readPicture(directory.path("shop-crop-1.png")));
}

TEST(Crop, MakesAPageOfEachLabelOfEachPage) {
  const ProofDirectory directory;
  const std::string one = label(20, 300) + "showpage\n";
  const std::string two = label(500, 500, "90 rotate") + label(500, 60, "90 rotate") + "showpage\n";
  directory.writeText("shop.ps", kA4 + one + "showpage\n" + two);
  const ProofResult result = directory.run({"--crop", "shop.ps"});
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(holds(result.errors, "page 2 is blank")) << result.errors;
  EXPECT_TRUE(holds(result.errors, "page 3: 2 places look like a label")) << result.errors;
  for (const char* name : {"shop-crop-1.png", "shop-crop-2.png", "shop-crop-3.png"}) {
    expectLabel(readPicture(directory.path(name)));
  }
  EXPECT_FALSE(directory.exists("shop-crop-4.png"));
}

TEST(Crop, TakesThePlaceThatIsNamedByHand) {
  const ProofDirectory directory;
  // The label's upper left corner is 842 - 432 - 200 = 210 points below the page's, 74.08 mm, and
  // 150 points, 52.92 mm, beside it.
  directory.writeText("shop.ps", page(label(150, 200) + label(450, 200)));
  EXPECT_EQ(directory.run({"--crop=52.92,74.08", "shop.ps"}).status, 0);
  expectLabel(readPicture(directory.path("shop-crop-1.png")));
}

TEST(Crop, PrintsNothingFromBesideThePlace) {
  const ProofDirectory directory;
  directory.writeText("shop.ps", page("0 742 595 100 rectfill\n"));
  // 20 x 10 mm in the middle of 50 x 30 mm: 160 of 400 dots, 80 of 240.
  EXPECT_EQ(directory.run({"--crop=10,10,20,10", "-o", "PageSize=w142h85", "shop.ps"}).status, 0);
  const Picture picture = readPicture(directory.path("shop-crop-1.png"));
  ASSERT_EQ(picture.height, 240U);
  EXPECT_EQ(picture.rows[120].find('#') + 160, picture.rows[120].rfind('#') + 1);
  EXPECT_EQ(picture.rows[79].find('#'), std::string::npos);
  EXPECT_NE(picture.rows[81].find('#'), std::string::npos);
}

TEST(Crop, SaysThatItIsNotSure) {
  const ProofDirectory directory;
  directory.writeText("shop.ps", page("100 300 100 150 rectfill\n"));
  const ProofResult result = directory.run({"--crop", "shop.ps"});
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(holds(result.errors, "not sure")) << result.errors;
  EXPECT_TRUE(holds(result.errors, "--crop=X,Y,WIDTH,HEIGHT")) << result.errors;
}

struct Refused {
  const char* name;
  std::vector<std::string> words;
  std::string document;
  const char* sentence;
};

void PrintTo(const Refused& refused, std::ostream* out) { *out << refused.name; }

class CropRefuses : public testing::TestWithParam<Refused> {};

TEST_P(CropRefuses, WithOneSentenceAndNoFile) {
  const ProofDirectory directory;
  directory.writeText("shop.ps", GetParam().document);
  const ProofResult result = directory.run(GetParam().words);
  EXPECT_NE(result.status, 0);
  EXPECT_TRUE(holds(result.errors, GetParam().sentence)) << result.errors;
  EXPECT_EQ(directory.names(), (std::vector<std::string>{"shop.ps"}));
}

INSTANTIATE_TEST_SUITE_P(
    Crop, CropRefuses,
    testing::Values(
        Refused{"blank", {"--crop", "shop.ps"}, page(""), "page 1 is blank"},
        Refused{"larger",
                {"--crop", "shop.ps"},
                page("20 20 550 800 rectfill\n"),
                "has no place that a label of 101.6 x 152.4 mm could hold whole"},
        Refused{"text",
                {"--crop", "shop.ps"},
                "only words\n",
                "finds labels on PDF and PostScript pages, and this is text"},
        Refused{"outside", {"--crop=211,5", "shop.ps"}, page(label(0, 0)), "lies outside of it"},
        Refused{"largerByHand",
                {"--crop=5,5,110,160", "shop.ps"},
                page(label(0, 0)),
                "more than the label of 101.6 x 152.4 mm"},
        Refused{"threeNumbers",
                {"--crop=5,5,5", "shop.ps"},
                page(label(0, 0)),
                "--crop wants a place in mm"},
        Refused{"noNumber", {"--crop=5,here", "shop.ps"}, page(label(0, 0)), "not \"5,here\""},
        Refused{"noSize",
                {"--crop=5,5,0,10", "shop.ps"},
                page(label(0, 0)),
                "--crop wants a place in mm"}),
    [](const testing::TestParamInfo<Refused>& refused) { return refused.param.name; });

TEST(Crop, AsksForADocumentWithoutAPassword) {
  const ProofDirectory directory;
  directory.writeText("open.ps", page(label(0, 0)));
  const std::string command =
      "gs -q -dBATCH -dNOPAUSE -sDEVICE=pdfwrite -sUserPassword=a -sOwnerPassword=b "
      "-sOutputFile='" +
      directory.path("shop.pdf") + "' '" + directory.path("open.ps") + "' >/dev/null 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0);  // NOLINT(cert-env33-c): words of this test alone
  const ProofResult result = directory.run({"--crop", "shop.pdf"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(holds(result.errors, "is protected by a password")) << result.errors;
  EXPECT_FALSE(directory.exists("shop-crop.pdf"));
}

TEST(Crop, ReplacesOnlyWhatItMadeItself) {
  const ProofDirectory directory;
  directory.writeText("shop.ps", page(label(0, 400)));
  directory.writeText("shop-crop.pdf", "a shop's own");
  const ProofResult result = directory.run({"--crop", "shop.ps"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(holds(result.errors, "was not made by --crop of this document")) << result.errors;
  EXPECT_EQ(directory.read("shop-crop.pdf").size(), 12U);
  EXPECT_EQ(directory.run({"--crop", "--output-dir", "out", "shop.ps"}).status, 0);
  EXPECT_EQ(directory.run({"--crop", "--output-dir", "out", "shop.ps"}).status, 0);
  directory.writeText("shop.eps", page(label(0, 300)));
  EXPECT_EQ(directory.run({"--crop", "--output-dir", "out", "shop.eps"}).status, 1);
  EXPECT_EQ(directory.run({"--crop", "--force", "--output-dir", "out", "shop.eps"}).status, 0);
  expectLabel(readPicture(directory.path("out/shop-crop-1.png")));
}

TEST(Crop, IsForDocumentsAndNotForFrames) {
  const ProofDirectory directory;
  directory.writeText("page.dat", "no frame");
  const ProofResult result = directory.run({"--crop", "page.dat"});
  EXPECT_EQ(result.status, 2);
  EXPECT_TRUE(holds(result.errors, "--crop is for documents")) << result.errors;
}

}  // namespace
}  // namespace kestra
