// Black-box tests of documents that are rendered: what is drawn lands on the dots it should.
//
// The print system's own programs are used as they are; a machine without them skips these tests.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/tools/json_value.h"
#include "tests/tools/proof_run.h"

namespace kestra {
namespace {

bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// A page of 142.05 x 85.04 points, the size of w142h85, with a bar of 72 x 36 points whose lower
// left corner is 36, 24 points from the page's.
const char* const kBar =
    "%!PS\n<< /PageSize [142.05 85.04] >> setpagedevice\n0 setgray 36 24 72 36 rectfill showpage\n";

class Render : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* program :
         {"/usr/bin/gs", "/usr/lib/cups/filter/gstoraster", "/usr/lib/cups/filter/pdftopdf",
          "/usr/lib/cups/filter/texttopdf", "/usr/lib/cups/filter/imagetoraster"}) {
      if (access(program, X_OK) != 0) GTEST_SKIP() << program << " is not installed";
    }
  }

  // Ghostscript turns page.ps into another kind of document.
  void convert(const std::string& device, const std::string& name) const {
    const std::string command = "cd '" + directory_.path(".") + "' && gs -q -dBATCH -dNOPAUSE" +
                                " -dSAFER -r203 -sDEVICE=" + device + " -sOutputFile=" + name +
                                " page.ps </dev/null >/dev/null 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
  }

  // The bar of kBar at 203 dpi: 203 dots wide from 36 / 72 x 203 = 101.5 on, 101.5 high. A dot
  // prints where its centre is covered.
  void expectBar(const Picture& picture) const {
    ASSERT_EQ(picture.width, 400U);   // 142.05 / 72 x 203 = 400.5
    ASSERT_EQ(picture.height, 240U);  // 85.04 / 72 x 203 = 239.8
    std::size_t rows = 0;
    for (const std::string& row : picture.rows) {
      const std::size_t first = row.find('#');
      if (first == std::string::npos) continue;
      ++rows;
      EXPECT_NEAR(static_cast<double>(first), 101.5, 1.0);
      EXPECT_NEAR(static_cast<double>(row.rfind('#') + 1 - first), 203, 1.0);
      EXPECT_EQ(row.find('.', first), row.rfind('#') + 1) << "a bar has no gaps";
    }
    EXPECT_NEAR(static_cast<double>(rows), 101.5, 1.0);
    EXPECT_EQ(picture.dotsPerMetre, 7992U);
  }

  const ProofDirectory directory_;
  const std::vector<std::string> size_ = {"-o", "PageSize=w142h85"};
};

TEST_F(Render, DrawsPostScriptDotByDot) {
  directory_.writeText("page.ps", kBar);
  const ProofResult result = directory_.run({"page.ps", "-o", "PageSize=w142h85"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.errors, "");
  expectBar(readPicture(directory_.path("page-1.png")));
}

// The bar of kBar as a picture to be put into other documents, somewhere on a page.
TEST_F(Render, DrawsOfAnEncapsulatedPageWhatItsBoxHolds) {
  directory_.writeText("page.eps",
                       "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 300 400 442 485\n%%EndComments\n"
                       "0 setgray 336 424 72 36 rectfill showpage\n");
  const ProofResult result = directory_.run({"page.eps", "-o", "PageSize=w142h85"});
  EXPECT_EQ(result.status, 0) << result.errors;
  expectBar(readPicture(directory_.path("page-1.png")));
}

TEST_F(Render, DrawsPdfDotByDot) {
  directory_.writeText("page.ps", kBar);
  convert("pdfwrite", "made.pdf");
  const ProofResult result = directory_.run({"made.pdf", "-o", "PageSize=w142h85"});
  EXPECT_EQ(result.status, 0) << result.errors;
  expectBar(readPicture(directory_.path("made-1.png")));
}

TEST_F(Render, DrawsPagesAndCopiesAsAsked) {
  directory_.writeText("page.ps", std::string(kBar) + "10 10 5 5 rectfill showpage showpage\n");
  convert("pdfwrite", "made.pdf");
  const ProofResult result =
      directory_.run({"made.pdf", "-o", "PageSize=w142h85 page-ranges=1-2 copies=2", "--json"});
  EXPECT_EQ(result.status, 0) << result.errors;
  const auto json = parseJson(result.output);
  ASSERT_TRUE(json);
  EXPECT_EQ((*json)["documents"][0]["pages"].items.size(), 4U);
  EXPECT_EQ((*json)["documents"][0]["type"].string, "PDF");
  EXPECT_EQ((*json)["documents"][0]["model"].string, "label");
}

TEST_F(Render, DrawsPicturesAsThePrintSystemDoesAndSaysThatTheyAreSkewed) {
  directory_.writeText("page.ps", kBar);
  convert("pnggray", "one.png");
  convert("jpeggray", "two.jpg");
  for (const char* name : {"one.png", "two.jpg"}) {
    const ProofResult result = directory_.run({name, "-o", "PageSize=w142h85", "--json"});
    EXPECT_EQ(result.status, 0) << result.errors;
    const auto json = parseJson(result.output);
    ASSERT_TRUE(json) << result.output;
    const JsonValue& document = (*json)["documents"][0];
    EXPECT_EQ(document["type"].string, "picture");
    ASSERT_EQ(document["pages"].items.size(), 1U);
    EXPECT_GT(document["pages"][0]["black_dots"].number, 0);
    // The bar takes 72 x 36 of 142.05 x 85.04 points: 0.2146 of the page, whatever its size.
    EXPECT_NEAR(document["pages"][0]["coverage"].number, 0.2146, 0.02);
  }
}

TEST_F(Render, SaysThatBrightnessOfAPictureIsNotOurs) {
  directory_.writeText("page.ps", kBar);
  convert("pnggray", "drawn.png");
  const ProofResult result = directory_.run({"drawn.png", "-o", "PageSize=w142h85 Brightness=20"});
  EXPECT_TRUE(holds(result.errors, "Brightness is also the print system's own option"))
      << result.errors;
}

TEST_F(Render, SaysThatATransparentPictureGetsWrongRims) {
  directory_.writeText("page.ps", kBar);
  convert("pngalpha", "clear.png");
  convert("pnggray", "paper.png");
  EXPECT_TRUE(holds(directory_.run({"clear.png"}).errors,
                    "clear.png: has transparent places; the print system draws their rims wrong"));
  EXPECT_FALSE(holds(directory_.run({"paper.png"}).errors, "transparent"));
}

TEST_F(Render, DrawsText) {
  directory_.writeText("words.txt", "Kestra\n");
  directory_.writeText("empty.txt", "\n");
  EXPECT_EQ(directory_.run({"words.txt", "-o", "PageSize=w142h85"}).status, 0);
  EXPECT_GT(readPicture(directory_.path("words-1.png")).width, 0U);
  bool black = false;
  for (const std::string& row : readPicture(directory_.path("words-1.png")).rows) {
    black = black || holds(row, "#");
  }
  EXPECT_TRUE(black);
}

TEST_F(Render, SaysWhatIsWrongWithADocument) {
  directory_.writeText("bad.pdf", "%PDF-1.4\nnothing of the kind\n");
  directory_.writeText("bad.ps", "%!PS\nthis is no operator\n");
  directory_.write("odd.bin", Bytes{0, 1, 2, 3});
  directory_.write("none.pdf", Bytes{});
  const ProofResult result =
      directory_.run({"bad.pdf", "bad.ps", "odd.bin", "none.pdf", "away.pdf", "."});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(holds(result.errors, "bad.pdf: ")) << result.errors;
  EXPECT_TRUE(holds(result.errors, "bad.ps: reading the PostScript failed: gs ended with status"))
      << result.errors;
  EXPECT_TRUE(holds(result.errors, "odd.bin: is of no known type; PDF,")) << result.errors;
  EXPECT_TRUE(holds(result.errors, "none.pdf: is empty")) << result.errors;
  EXPECT_TRUE(holds(result.errors, "away.pdf: cannot be read: No such file")) << result.errors;
  EXPECT_TRUE(holds(result.errors, ".: is a directory")) << result.errors;
}

}  // namespace
}  // namespace kestra
