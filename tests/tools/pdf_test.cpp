// Tests of what is said about PDF documents: scaled pages, and files that cannot be printed.
//
// A label that is scaled by the print system, or blank, looks like a fault of the printer.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "tests/tools/json_value.h"
#include "tests/tools/proof_run.h"
#include "tools/render/pdf_file.h"

namespace kestra {
namespace {

bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// A page of so many points with a square of 72 points in its middle, without a table of contents:
// readers find the objects all the same, and call the file damaged.
std::string damagedPdf(double width, double height, const std::string& page) {
  std::array<char, 64> square = {};
  std::snprintf(square.data(), square.size(), "%.2f %.2f 72 72 re f", width / 2 - 36,
                height / 2 - 36);
  const std::string drawing = square.data();
  return "%PDF-1.4\n1 0 obj\n<</Type/Catalog/Pages 2 0 R>>\nendobj\n2 0 obj\n<</Type/Pages/Kids[" +
         page + "]/Count " + (page.empty() ? "0" : "1") +
         ">>\nendobj\n3 0 obj\n<</Type/Page/Parent 2 0 R/MediaBox[0 0 " + std::to_string(width) +
         " " + std::to_string(height) + "]/Contents 4 0 R/Resources<<>>>>\nendobj\n4 0 obj\n" +
         "<</Length " + std::to_string(drawing.size()) + ">>stream\n" + drawing +
         "\nendstream\nendobj\ntrailer<</Root 1 0 R/Size 5>>\n%%EOF\n";
}

TEST(PdfFile, ReadsTheScaleOfAPage) {
  EXPECT_DOUBLE_EQ(contentScale("q\nq\n  0.5 0 0 0.5 10 20 cm\n  /X1 Do\nQ\nQ\n"), 0.5);
  EXPECT_DOUBLE_EQ(contentScale("q 0 2 -2 0 10 20 cm 0.1 0 0 0.1 0 0 cm"), 2) << "turned";
  EXPECT_DOUBLE_EQ(contentScale("0 0 10 10 re f"), 1);
  EXPECT_DOUBLE_EQ(contentScale("0 0 0 0 1 1 cm"), 1) << "no size at all";
  EXPECT_DOUBLE_EQ(contentScale(""), 1);
}

class Pdf : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* program :
         {"/usr/bin/gs", "/usr/lib/cups/filter/gstoraster", "/usr/lib/cups/filter/pdftopdf"}) {
      if (access(program, X_OK) != 0) GTEST_SKIP() << program << " is not installed";
    }
  }

  // Writes `name`, a sound PDF file of a page of so many points with a square in its middle.
  void draw(const std::string& name, double width, double height,
            const std::string& more = "") const {
    directory_.writeText(
        "page.ps", "%!PS\n<< /PageSize [" + std::to_string(width) + " " + std::to_string(height) +
                       "] >> setpagedevice\n" + std::to_string(width / 2 - 36) + " " +
                       std::to_string(height / 2 - 36) + " 72 72 rectfill showpage\n");
    const std::string command = "cd '" + directory_.path(".") + "' && gs -q -dBATCH -dNOPAUSE" +
                                " -dSAFER -sDEVICE=pdfwrite " + more + " -sOutputFile=" + name +
                                " page.ps </dev/null >/dev/null 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
  }

  const ProofDirectory directory_;
};

TEST_F(Pdf, OnALargerPageIsScaledAndSaysSo) {
  // On 288 x 432 points. To fill the label the larger of 288 / 595.28 = 0.484 and 432 / 841.89 =
  // 0.513 is taken; to fit on it the smaller.
  draw("a4.pdf", 595.28, 841.89);
  const ProofResult usual = directory_.run({"a4.pdf"});
  EXPECT_EQ(usual.status, 0) << usual.errors;
  EXPECT_TRUE(holds(usual.errors, "page 1 is printed at 51 % of its size, because it is larger"))
      << usual.errors;
  EXPECT_TRUE(holds(usual.errors, "-o print-scaling=none")) << usual.errors;
  // The square has 203 dots at full size, 104.2 at 51.3 per cent.
  const Picture picture = readPicture(directory_.path("a4-1.png"));
  ASSERT_GT(picture.rows.size(), 609U);
  const std::string& middle = picture.rows[609];
  EXPECT_NEAR(static_cast<double>(middle.rfind('#') + 1 - middle.find('#')), 104.2, 1.0);
  const ProofResult fit = directory_.run({"a4.pdf", "-o", "fit-to-page"});
  EXPECT_TRUE(holds(fit.errors, "is printed at 48 % of its size, as fit-to-page asks"))
      << fit.errors;
  // 432 / 453.54 = 0.9525 for 110 x 160 mm.
  draw("large.pdf", 311.81, 453.54);
  EXPECT_TRUE(holds(directory_.run({"large.pdf"}).errors, "is printed at 95.3 % of its size"));
}

TEST_F(Pdf, SaysWhichOfItsPagesIsScaled) {
  directory_.writeText("two.ps",
                       "%!PS\n<< /PageSize [288 432] >> setpagedevice 0 0 72 72 rectfill showpage\n"
                       "<< /PageSize [576 864] >> setpagedevice 0 0 72 72 rectfill showpage\n");
  const ProofResult result = directory_.run({"two.ps"});
  EXPECT_TRUE(holds(result.errors, "page 2 is printed at 50 % of its size")) << result.errors;
  EXPECT_FALSE(holds(result.errors, "page 1")) << result.errors;
}

TEST_F(Pdf, AtFullSizeIsNotSpokenOf) {
  draw("a4.pdf", 595.28, 841.89);
  EXPECT_EQ(directory_.run({"a4.pdf", "-o", "print-scaling=none"}).errors, "");
  draw("small.pdf", 170.08, 113.39);
  EXPECT_EQ(directory_.run({"small.pdf"}).errors, "");
  EXPECT_TRUE(holds(directory_.run({"small.pdf", "-o", "fit-to-page"}).errors, "254 %"))
      << "288 / 113.39 = 2.54 on a label that is turned";
  draw("whole.pdf", 288, 432);
  EXPECT_EQ(directory_.run({"whole.pdf"}).errors, "");
}

TEST_F(Pdf, OfPostScriptIsScaledAsWell) {
  draw("unused.pdf", 595.28, 841.89);  // and leaves page.ps
  EXPECT_TRUE(holds(directory_.run({"page.ps"}).errors, "is printed at 51 % of its size"));
}

TEST_F(Pdf, BehindAPasswordSaysSo) {
  draw("locked.pdf", 288, 432,
       "-sUserPassword=one -sOwnerPassword=two -dEncryptionR=3"
       " -dKeyLength=128");
  const ProofResult result = directory_.run({"locked.pdf", "--json"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors,
            "kestra-proof: locked.pdf: is protected by a password; open it with the password, save "
            "or print it as a PDF without one, and print that\n");
  const auto json = parseJson(result.output);
  ASSERT_TRUE(json) << result.output;
  EXPECT_TRUE(holds((*json)["documents"][0]["errors"][0].string, "protected by a password"));
}

TEST_F(Pdf, ThatIsCutOffIsCalledBroken) {
  draw("whole.pdf", 288, 432);
  Bytes bytes = directory_.read("whole.pdf");
  bytes.resize(100);  // no page is left that a repair could find
  directory_.write("half.pdf", bytes);
  const ProofResult result = directory_.run({"half.pdf"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(holds(result.errors, "half.pdf: is a broken PDF (")) << result.errors;
  EXPECT_TRUE(holds(result.errors, "; fetch or make it once more\n")) << result.errors;
}

TEST_F(Pdf, ThatCouldBeRepairedIsShownWithAWarning) {
  directory_.writeText("found.pdf", damagedPdf(288, 432, "3 0 R"));
  const ProofResult result = directory_.run({"found.pdf"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_TRUE(holds(result.errors, "is a damaged PDF that could be repaired")) << result.errors;
}

TEST_F(Pdf, OfWhichNothingIsDrawnFails) {
  std::string lost = damagedPdf(288, 432, "3 0 R");
  lost.replace(lost.find("/Contents 4"), 11, "/Contents 9");  // an object that is not there
  directory_.writeText("lost.pdf", lost);
  const ProofResult broken = directory_.run({"lost.pdf"});
  EXPECT_EQ(broken.status, 1);
  EXPECT_TRUE(holds(broken.errors, "is a broken PDF, and nothing of it can be drawn"))
      << broken.errors;
  directory_.writeText("blank.ps", "%!PS\nshowpage\n");
  const ProofResult blank = directory_.run({"blank.ps"});
  EXPECT_EQ(blank.status, 1);
  EXPECT_TRUE(holds(blank.errors, "nothing is drawn on any of its pages")) << blank.errors;
  // Whole in every byte: objects at 9 and 58, their table at 110.
  directory_.writeText("pageless.pdf",
                       "%PDF-1.4\n"
                       "1 0 obj\n<< /Type /Catalog /Pages 2 0 R >>\nendobj\n"
                       "2 0 obj\n<< /Type /Pages /Kids [] /Count 0 >>\nendobj\n"
                       "xref\n0 3\n0000000000 65535 f \n0000000009 00000 n \n0000000058 00000 n \n"
                       "trailer\n<< /Size 3 /Root 1 0 R >>\nstartxref\n110\n%%EOF\n");
  const ProofResult none = directory_.run({"pageless.pdf"});
  EXPECT_EQ(none.status, 1);
  EXPECT_TRUE(holds(none.errors, "pageless.pdf: has no pages")) << none.errors;
}

TEST_F(Pdf, WithOneBlankPageAmongOthersIsFine) {
  draw("unused.pdf", 288, 432);
  const Bytes page = directory_.read("page.ps");
  directory_.writeText("two.ps", std::string(page.begin(), page.end()) + "showpage\n");
  const ProofResult result = directory_.run({"two.ps"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.errors, "");
}

}  // namespace
}  // namespace kestra
