// Black-box tests of kestra-testlabel: its labels are printed, and bars and marks counted in dots.
// Why: who measures a printer with it must be able to trust every dot.
#include <gtest/gtest.h>

#include "tests/tools/proof_run.h"

namespace kestra {
namespace {

using Names = std::vector<std::string>;

bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

struct Printed {
  Names options;  // behind -o, for both programs
  std::string model;
  int dpi;
  unsigned width;  // dots that are printed
  unsigned height;
};

void PrintTo(const Printed& label, std::ostream* out) {
  *out << label.model << " " << label.options[0] << " at " << label.dpi << " dpi";
}

// Runs of black dots in a line: first dot and count.
std::vector<std::pair<std::size_t, std::size_t>> runs(const std::string& dots) {
  std::vector<std::pair<std::size_t, std::size_t>> found;
  for (std::size_t at = 0; (at = dots.find('#', at)) != std::string::npos;) {
    const std::size_t end = std::min(dots.find('.', at), dots.size());
    found.emplace_back(at, end - at);
    at = end;
  }
  return found;
}

// Whether a line crosses three bars of 1 dot, three of 2, three of 3 and three of 4, each with a
// gap as wide behind it but the last.
bool crossesTheBars(const std::string& dots) {
  const auto found = runs(dots);
  for (std::size_t first = 0; first + 12 <= found.size(); ++first) {
    bool good = true;
    for (std::size_t bar = 0; bar < 12 && good; ++bar) {
      const std::size_t wide = bar / 3 + 1;
      const auto [at, count] = found[first + bar];
      good = count == wide && (bar == 11 || found[first + bar + 1].first == at + 2 * wide);
    }
    if (good) return true;
  }
  return false;
}

std::string column(const Picture& picture, std::size_t x) {
  std::string dots;
  for (const std::string& row : picture.rows) dots += row[x];
  return dots;
}

// The dot of a millimetre, halves upwards, in whole numbers.
std::size_t dot(std::size_t millimetre, int dpi) {
  return (millimetre * 10 * static_cast<std::size_t>(dpi) + 127) / 254;
}

// The black dots of a line that crosses the marks of a ruler: the border's two dots at each end and
// one dot for each millimetre. `before` are dots of the picture before the printed area.
std::string ruler(std::size_t size, std::size_t before, std::size_t count, int dpi) {
  std::string dots(size, '.');
  for (std::size_t at : {std::size_t{0}, std::size_t{1}, count - 2, count - 1})
    dots[before + at] = '#';
  for (std::size_t mm = 1; dot(mm, dpi) < count - 2; ++mm) dots[before + dot(mm, dpi)] = '#';
  return dots;
}

// A line near the last edge that the marks there cross and that is no mark of the two edges beside.
std::size_t nearTheEnd(std::size_t count, int dpi) {
  std::size_t line = count - 4;
  for (std::size_t mm = 1; dot(mm, dpi) <= line; ++mm) {
    if (dot(mm, dpi) == line) --line;
  }
  return line;
}

class EveryTestLabel : public testing::TestWithParam<Printed> {};
INSTANTIATE_TEST_SUITE_P(
    TestLabel, EveryTestLabel,
    testing::Values(Printed{{"PageSize=w113h57"}, "label", 203, 320, 159},
                    Printed{{"PageSize=w142h85"}, "label", 203, 400, 240},
                    Printed{{"PageSize=w283h425"}, "label", 203, 796, 1198},
                    Printed{{"PageSize=w288h432"}, "label", 203, 812, 1218},
                    Printed{{"PageSize=w288h288", "Resolution=300dpi"}, "label", 300, 1200, 1200},
                    Printed{{"PageSize=A4"}, "stencil", 300, 2476, 3508},
                    Printed{
                        {"PageSize=Tattoo_A5", "Resolution=203dpi"}, "stencil", 203, 1676, 1182}));

TEST_P(EveryTestLabel, PrintsBarsOfOneToFourDotsAndMarksAtEachMillimetre) {
  const Printed& label = GetParam();
  const ProofDirectory directory;
  Names words = {"--model", label.model, "-o", "HalftoneType=None"};
  for (const std::string& option : label.options) words.insert(words.end(), {"-o", option});
  Names write = words;
  write.insert(write.end(), {"--output", "test.pdf"});
  const ProofResult written = directory.runProgram(KESTRA_TESTLABEL, write);
  ASSERT_EQ(written.status, 0) << written.errors;
  words.emplace_back("test.pdf");
  ASSERT_EQ(directory.run(words).status, 0);

  const Picture picture = readPicture(directory.path("test-1.png"));
  ASSERT_EQ(picture.width, label.width);
  ASSERT_GE(picture.height, label.height);
  // Rows that no page reaches are above or below the printed area.
  std::size_t top = 0;
  while (top < 4 && picture.rows[top] != std::string(picture.width, '#')) ++top;
  ASSERT_LT(top, 4U) << "there is no border along the first edge";
  EXPECT_EQ(picture.rows[top + 1], std::string(picture.width, '#'));
  EXPECT_EQ(picture.rows[top + label.height - 1], std::string(picture.width, '#'));

  EXPECT_EQ(picture.rows[top + 5], ruler(picture.width, 0, label.width, label.dpi));
  EXPECT_EQ(picture.rows[top + nearTheEnd(label.height, label.dpi)],
            ruler(picture.width, 0, label.width, label.dpi));
  EXPECT_EQ(column(picture, 5), ruler(picture.height, top, label.height, label.dpi));
  EXPECT_EQ(column(picture, nearTheEnd(label.width, label.dpi)),
            ruler(picture.height, top, label.height, label.dpi));

  // Bars are 3 mm long.
  const std::size_t length = dot(3, label.dpi);
  std::size_t rows = 0;
  for (const std::string& row : picture.rows) rows += crossesTheBars(row) ? 1U : 0U;
  std::size_t columns = 0;
  for (std::size_t x = 0; x < picture.width; ++x) {
    columns += crossesTheBars(column(picture, x)) ? 1U : 0U;
  }
  EXPECT_EQ(rows, length);
  EXPECT_EQ(columns, length);
}

TEST(TestLabel, WritesAFileForEachStepAndSaysHowToPrintIt) {
  const ProofDirectory directory;
  const ProofResult result = directory.runProgram(
      KESTRA_TESTLABEL, {"--size", "50x30mm", "--steps", "Darkness", "--output", "test.pdf"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(directory.names(), (Names{"test-Dark.pdf", "test-Light.pdf", "test-Middle.pdf"}));
  // A size that the printer has goes by its name.
  EXPECT_TRUE(
      holds(result.output, "lp -d QUEUE -o PageSize=w142h85 -o Darkness=Dark test-Dark.pdf"))
      << result.output;
  EXPECT_NE(directory.read("test-Dark.pdf"), directory.read("test-Light.pdf"));
}

TEST(TestLabel, TakesTheStepsThatAreNamed) {
  const ProofDirectory directory;
  EXPECT_EQ(
      directory
          .runProgram(KESTRA_TESTLABEL, {"--steps=Brightness=-20,0,20", "--output", "test.pdf"})
          .status,
      0);
  EXPECT_EQ(directory.names(), (Names{"test--20.pdf", "test-0.pdf", "test-20.pdf"}));
}

TEST(TestLabel, SaysWhatHadNoRoom) {
  const ProofDirectory directory;
  const ProofResult result =
      directory.runProgram(KESTRA_TESTLABEL, {"--size=30x20mm", "--output=test.pdf"});
  EXPECT_TRUE(holds(result.output, "no room on this label for: the code")) << result.output;
}

TEST(TestLabel, ReplacesOnlyWhatItMadeItself) {
  const ProofDirectory directory;
  EXPECT_EQ(directory.runProgram(KESTRA_TESTLABEL, {"--output", "test.pdf"}).status, 0);
  EXPECT_EQ(directory.runProgram(KESTRA_TESTLABEL, {"--output", "test.pdf"}).status, 0);
  directory.writeText("test.pdf", "something else");
  const ProofResult result = directory.runProgram(KESTRA_TESTLABEL, {"--output", "test.pdf"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(holds(result.errors, "is there already and is no test label")) << result.errors;
  EXPECT_EQ(directory.read("test.pdf").size(), 14U);
}

struct Wrong {
  const char* name;
  Names words;
  int status;
  const char* sentence;
};
void PrintTo(const Wrong& wrong, std::ostream* out) { *out << wrong.name; }

class TestLabelRefuses : public testing::TestWithParam<Wrong> {};

TEST_P(TestLabelRefuses, WithASentenceAndNoFile) {
  const ProofDirectory directory;
  const ProofResult result = directory.runProgram(KESTRA_TESTLABEL, GetParam().words);
  EXPECT_EQ(result.status, GetParam().status);
  EXPECT_TRUE(holds(result.errors, GetParam().sentence)) << result.errors;
  EXPECT_EQ(directory.names(), Names{});
}

INSTANTIATE_TEST_SUITE_P(
    TestLabel, TestLabelRefuses,
    testing::Values(
        Wrong{"nothing", {}, 2, "give -d QUEUE to print a test label, or --output FILE.pdf"},
        Wrong{"both", {"-d", "label", "--output", "a.pdf"}, 2, "give -d QUEUE"},
        Wrong{"modelOfAQueue", {"-d", "label", "--model", "label"}, 2, "a queue has a model"},
        Wrong{"document", {"label.pdf", "--output", "a.pdf"}, 2, "no document is wanted here"},
        Wrong{"unknown", {"--sizes", "--output", "a.pdf"}, 2, "unknown option --sizes"},
        Wrong{"size", {"--size", "50x30", "--output", "a.pdf"}, 2, "for example 100x50mm"},
        Wrong{"model", {"--model=big", "--output", "a.pdf"}, 2, "--model wants label"},
        Wrong{"file", {"-o", "a.pdf"}, 2, "the name of a file goes behind --output"},
        Wrong{"value",
              {"-o", "Darkness=Extra", "--output", "a.pdf"},
              2,
              "unknown value \"Extra\" for Darkness"},
        Wrong{"step", {"--steps", "Heat", "--output", "a.pdf"}, 2, "unknown option \"Heat\""},
        Wrong{"stepValue",
              {"--steps", "Darkness=Light,Hot", "--output", "a.pdf"},
              2,
              "unknown value \"Hot\""},
        Wrong{"folder", {"--output", "none/a.pdf"}, 1, "cannot be written"},
        Wrong{"queue", {"-d", "no-such-queue"}, 1, "lpstat -e lists the queues"}),
    [](const testing::TestParamInfo<Wrong>& wrong) { return wrong.param.name; });

}  // namespace
}  // namespace kestra
