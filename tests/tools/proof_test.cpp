// Black-box tests of kestra-proof: what it says, what it draws and how it refuses.
//
// A proof is believed, so each dot of a small page is compared with one drawn by hand.
#include <gtest/gtest.h>
#include <png.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/tools/frame_bytes.h"
#include "tests/tools/proof_run.h"

namespace kestra {
namespace {

bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(KestraProof, DrawsEveryDotOfTheLabel) {
  const ProofDirectory directory;
  directory.write("page.dat", smallFrame());
  const ProofResult result = directory.run({"page.dat"});
  EXPECT_EQ(result.status, 0) << result.errors;
  const Picture picture = readPicture(directory.path("page.png"));
  ASSERT_EQ(picture.width, 12U);  // without the margin byte
  ASSERT_EQ(picture.height, 2U);
  EXPECT_EQ(picture.bitDepth, 1);
  EXPECT_EQ(picture.colourType, PNG_COLOR_TYPE_GRAY);
  // FF F0 and 80 10.
  EXPECT_EQ(picture.rows[0], "############");
  EXPECT_EQ(picture.rows[1], "#..........#");
}

TEST(KestraProof, SaysTheFieldsInDotsAndMillimetres) {
  const ProofDirectory directory;
  FrameStart start;
  start.media = 2;
  start.width = 812;   // 4 inches at 203 dpi: 101.6 mm
  start.height = 406;  // 2 inches: 50.8 mm
  start.gap = 24;      // 24 / 203 x 25.4 = 3.003 mm
  start.page = 42;
  start.rows = 1;
  start.record = 106;  // 2 count + 2 margin + 102 page (812 / 8 = 101.5)
  Bytes bytes = frameStart(start);
  bytes.insert(bytes.end(), {8, 0, 0, 0, 0xFF});
  bytes.resize(22 + 106);
  directory.write("page.dat", bytes);
  const ProofResult result = directory.run({"page.dat"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.output,
            "page.dat:\n"
            "  page number:  42\n"
            "  size:         812 x 1 dots, 101.6 x 0.1 mm at 203 dpi\n"
            "  frame says:   812 x 406 dots, 101.6 x 50.8 mm\n"
            "  media:        paper with black marks of 3.0 mm\n"
            "  black dots:   8, 1.0 % of the label\n"  // 8 / 812 = 0.985 %
            "  picture:      page.png, 812 x 1 pixels\n");
  const ProofResult verbose = directory.run({"--verbose", "page.dat"});
  EXPECT_TRUE(holds(verbose.output,
                    "  rows:         1 of 102 bytes behind a margin of 2 bytes\n"
                    "  counts:       every row holds as many black dots as it announces\n"))
      << verbose.output;
}

TEST(KestraProof, CountsTheDotsOfAWidthThatIsAnnouncedOneShort) {
  const ProofDirectory directory;
  FrameStart start;
  start.width = 11;  // of 12
  start.height = 1;
  start.rows = 1;
  Bytes bytes = frameStart(start);
  bytes.insert(bytes.end(), {2, 0, 0, 0x80, 0x10});  // the first and the twelfth dot
  directory.write("page.dat", bytes);
  const ProofResult result = directory.run({"page.dat"});
  EXPECT_TRUE(holds(result.output, "  size:         12 x 1 dots")) << result.output;
  EXPECT_TRUE(holds(result.output, "  frame says:   11 x 1 dots")) << result.output;
  EXPECT_EQ(readPicture(directory.path("page.png")).rows, std::vector<std::string>{"#..........#"});
}

// A frame whose rows are `dots` wide, head and all.
Bytes frameOfWidth(std::uint16_t dots) {
  FrameStart start;
  start.width = dots;
  start.height = 1;
  start.rows = 1;
  start.record = static_cast<std::uint16_t>(2 + dots / 8);
  Bytes bytes = frameStart(start);
  bytes.resize(bytes.size() + start.record);
  return bytes;
}

TEST(KestraProof, TakesAFrameThatIsWiderThanTheLabelHeadFor300Dpi) {
  const ProofDirectory directory;
  directory.write("label.dat", frameOfWidth(832));    // 832 / 203 x 25.4 = 104.1
  directory.write("stencil.dat", frameOfWidth(840));  // 840 / 300 x 25.4 = 71.1
  EXPECT_TRUE(holds(directory.run({"label.dat"}).output, "832 x 1 dots, 104.1 x 0.1 mm at 203"));
  const ProofResult wide = directory.run({"stencil.dat"});
  EXPECT_TRUE(holds(wide.output, "840 x 1 dots, 71.1 x 0.1 mm at 300 dpi")) << wide.output;
  EXPECT_TRUE(holds(wide.output, "taken for 300 dpi")) << wide.output;
  EXPECT_EQ(readPicture(directory.path("stencil.png")).dotsPerMetre, 11811U);  // 300 / 0.0254
  EXPECT_TRUE(holds(directory.run({"--dpi", "203", "stencil.dat"}).output, "mm at 203 dpi"));
  EXPECT_TRUE(holds(directory.run({"--model", "stencil", "label.dat"}).output, "mm at 300 dpi"));
  EXPECT_TRUE(holds(directory.run({"--model", "label", "stencil.dat"}).output, "mm at 203 dpi"));
}

TEST(KestraProof, PutsTheResolutionIntoThePicture) {
  const ProofDirectory directory;
  directory.write("page.dat", smallFrame());
  EXPECT_EQ(directory.run({"page.dat"}).status, 0);
  EXPECT_EQ(readPicture(directory.path("page.png")).dotsPerMetre, 7992U);  // 203 / 0.0254
  EXPECT_EQ(directory.run({"--dpi", "300", "page.dat"}).status, 0);
  EXPECT_EQ(readPicture(directory.path("page.png")).dotsPerMetre, 11811U);  // 300 / 0.0254
}

TEST(KestraProof, TakesTheLargestScaleAndFineHeads) {
  const ProofDirectory directory;
  directory.write("page.dat", smallFrame());
  EXPECT_EQ(directory.run({"--scale", "16", "--dpi", "1200", "page.dat"}).status, 0);
  const Picture picture = readPicture(directory.path("page.png"));
  // The first page dot of row 1 is black, the one behind it white; both are 16 pixels wide.
  ASSERT_EQ(picture.height, 32U);
  const std::size_t page = picture.rows[16].find('#');
  ASSERT_NE(page, std::string::npos);
  EXPECT_EQ(picture.rows[31].substr(page, 32), std::string(16, '#') + std::string(16, '.'));
  EXPECT_EQ(picture.dotsPerMetre, 755906U);  // 16 x 1200 / 0.0254 = 755905.5
}

TEST(KestraProof, SummarisesTheRowsWhoseCountDisagrees) {
  const ProofDirectory directory;
  FrameStart start;
  start.rows = 20;
  Bytes bytes = frameStart(start);
  // Rows 2, 5 to 7, 9, 11, 13, 15 and 17 announce one dot but hold none: 9 rows in 7 stretches.
  const std::string wrong = "..#..###.#.#.#.#.#..";
  for (const char row : wrong) {
    bytes.insert(bytes.end(), {static_cast<std::uint8_t>(row == '#' ? 1 : 0), 0, 0, 0, 0});
  }
  directory.write("page.dat", bytes);
  const ProofResult result = directory.run({"page.dat"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_TRUE(holds(
      result.output,
      "  note:         9 rows disagree with the announced count: row 2, 5-7, 9, 11, 13 and 2 more "
      "(row 2 announces 1 and holds 0)\n"))
      << result.output;
}

TEST(KestraProof, DrawsAPageThatWasWiderThanTheHead) {
  const ProofDirectory directory;
  FrameStart start;
  start.width = 40;
  start.rows = 1;
  Bytes bytes = frameStart(start);
  bytes.insert(bytes.end(), {1, 0, 0x80, 0, 0});
  directory.write("page.dat", bytes);
  const ProofResult result = directory.run({"page.dat"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_TRUE(holds(result.output, "wider than the print head")) << result.output;
  EXPECT_EQ(readPicture(directory.path("page.png")).rows,
            std::vector<std::string>{"#......................."});
}

TEST(KestraProof, TakesSeveralFramesAtOnce) {
  const ProofDirectory directory;
  directory.write("a.dat", smallFrame());
  directory.write("broken.dat", {1, 2, 3});
  directory.write("noextension", smallFrame());
  const ProofResult result =
      directory.run({"--output-dir", ".", "a.dat", "broken.dat", "missing.dat", "noextension"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors,
            "kestra-proof: broken.dat: too short: 3 bytes, a frame has at least 22\n"
            "kestra-proof: missing.dat: cannot be read: No such file or directory\n");
  EXPECT_EQ(directory.names(), (std::vector<std::string>{"a.dat", "a.png", "broken.dat",
                                                         "noextension", "noextension.png"}));
}

TEST(KestraProof, NeverWritesOverAnInput) {
  const ProofDirectory directory;
  directory.write("page.dat", smallFrame());
  ASSERT_EQ(symlink("page.dat", directory.path("link.png").c_str()), 0);
  for (const char* target : {"page.dat", "./page.dat", "link.png"}) {
    const ProofResult result = directory.run({"--output", target, "page.dat"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(holds(result.errors, "is an input and is not written over")) << result.errors;
    EXPECT_EQ(directory.read("page.dat"), smallFrame());
  }
}

TEST(KestraProof, NeverWritesOverAFileThatItDidNotMake) {
  const ProofDirectory directory;
  directory.write("page.dat", smallFrame());
  directory.writeText("page.png", "my own notes");
  const ProofResult refused = directory.run({"page.dat"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_TRUE(holds(refused.errors, "page.png is there already and was not made by kestra-proof"))
      << refused.errors;
  EXPECT_EQ(directory.run({"--output", "page.png", "page.dat"}).status, 1);
  EXPECT_EQ(directory.read("page.png"),
            (Bytes{'m', 'y', ' ', 'o', 'w', 'n', ' ', 'n', 'o', 't', 'e', 's'}));
  EXPECT_EQ(directory.run({"--force", "page.dat"}).status, 0);
  EXPECT_EQ(readPicture(directory.path("page.png")).width, 12U);
}

TEST(KestraProof, ReplacesItsOwnPictureOfTheSameDocumentOnly) {
  const ProofDirectory directory;
  directory.write("page.dat", smallFrame());
  directory.write("page", smallFrame());
  EXPECT_EQ(directory.run({"page.dat"}).status, 0);
  EXPECT_EQ(directory.run({"--scale", "2", "page.dat"}).status, 0);
  EXPECT_EQ(readPicture(directory.path("page.png")).width, 24U);
  const ProofResult other = directory.run({"page"});
  EXPECT_EQ(other.status, 1);
  EXPECT_TRUE(holds(other.errors, "page.png is there already and shows another document, page.dat"))
      << other.errors;
  EXPECT_EQ(readPicture(directory.path("page.png")).width, 24U);
  EXPECT_EQ(directory.run({"--output", "page.png", "page"}).status, 0) << "it was asked for";
  EXPECT_EQ(readPicture(directory.path("page.png")).width, 12U);
}

TEST(KestraProof, SaysWhenItsHelpCannotBeWritten) {
  for (const char* word : {"--help", "--version"}) {
    const std::string command = std::string(KESTRA_PROOF) + " " + word + " >/dev/full 2>/dev/null";
    const int status = std::system(command.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 1) << word;
  }
}

TEST(KestraProof, RefusesOnePictureForTwoFrames) {
  const ProofDirectory directory;
  directory.write("page", smallFrame());
  directory.write("page.dat", smallFrame());
  const ProofResult result = directory.run({"page", "page.dat"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(holds(result.errors, "two pages would become the picture page.png")) << result.errors;
}

TEST(KestraProof, LeavesNothingBehindWhereThePictureCannotGo) {
  const ProofDirectory directory;
  directory.write("page.dat", smallFrame());
  // No folder can be made below a file.
  const ProofResult result = directory.run({"--output-dir", "page.dat/pages", "page.dat"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(holds(result.errors, "page.dat/pages/page.png cannot be written: Not a directory"))
      << result.errors;
  EXPECT_EQ(directory.run({"--output", ".", "page.dat"}).status, 1);
  EXPECT_EQ(directory.names(), std::vector<std::string>{"page.dat"});
}

TEST(KestraProof, MakesTheFolderForThePictures) {
  const ProofDirectory directory;
  directory.write("page.dat", smallFrame());
  const ProofResult result = directory.run({"--output-dir", "new/pages", "page.dat"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(directory.run({"--output-dir", "new/pages", "--quiet", "page.dat"}).status, 0);
}

TEST(KestraProof, DecodesCommandsAndPageCounters) {
  const ProofDirectory directory;
  directory.write("out.bin", {0x1B, 0x73, 1, 0, 0, 2, 1});
  directory.write("queue.pgc", {4, 0});
  const ProofResult files = directory.run({"--command", "out.bin", "queue.pgc"});
  EXPECT_EQ(files.status, 0) << files.errors;
  EXPECT_EQ(files.output,
            "out.bin: command 1: darkness Middle, PrintSpeed 4 (speed code 2, darkness code 1)\n"
            "queue.pgc: the next page gets the number 4\n");
  const ProofResult stream = directory.run({"--command", "-"}, {0x1B, 0x73, 1, 0, 0, 0, 2, 0x1B});
  EXPECT_EQ(stream.status, 1);
  EXPECT_EQ(stream.output,
            "-: command 1: darkness Dark, PrintSpeed 2 or 0 (speed code 0, darkness code 2)\n");
  EXPECT_EQ(stream.errors, "kestra-proof: -: command 2 is cut off: 1 bytes, a command has 7\n");
  directory.write("queue.pgc", {4});
  EXPECT_EQ(directory.run({"queue.pgc"}).status, 1);
}

TEST(KestraProof, AnswersHelpAndVersion) {
  const ProofDirectory directory;
  const ProofResult help = directory.run({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* option : {"--dpi", "-o", "--output", "--output-dir", "--command", "--help",
                             "--version", "--model", "--ppd", "--compare", "--margins", "--scale",
                             "--json", "--keep", "--quiet", "--verbose", "--force"}) {
    EXPECT_TRUE(holds(help.output, option)) << option;
  }
  EXPECT_EQ(directory.run({"--version"}).output.rfind("kestra-proof ", 0), 0U);
}

TEST(KestraProof, RefusesALineThatMakesNoSense) {
  const ProofDirectory directory;
  directory.write("page.dat", smallFrame());
  const std::vector<std::vector<std::string>> lines = {
      {},
      {"--dpi", "0", "page.dat"},
      {"--dpi", "203dpi", "page.dat"},
      {"--dpi=10000", "page.dat"},
      {"--dpi"},
      {"-o"},
      {"-o", "a.png", "page.dat"},
      {"--output"},
      {"--output", "-", "page.dat"},
      {"--scale", "0", "page.dat"},
      {"--scale", "17", "page.dat"},
      {"--scale", "1.5", "page.dat"},
      {"--model", "laser", "page.dat"},
      {"--quiet", "--verbose", "page.dat"},
      {"--model", "label", "--ppd", "x.ppd", "page.dat"},
      {"--keep"},
      {"--compare", "page.dat"},
      {"--detail", "all", "page.dat"},
      {"--compare", "--detail", "1,2,3", "page.dat"},
      {"--keep", "k", "page.dat"},
      {"-o", "Darkness=Dark", "page.dat"},
      {"--output", "a.png", "page.dat", "page.dat"},
      {"--output", "a.png", "--output-dir", ".", "page.dat"},
      {"--command"},
      {"--colour", "page.dat"},
      {"-"},
  };
  for (const std::vector<std::string>& line : lines) {
    const ProofResult result = directory.run(line);
    EXPECT_EQ(result.status, 2) << result.errors;
    EXPECT_TRUE(holds(result.errors, "Try: kestra-proof --help")) << result.errors;
    EXPECT_EQ(result.output, "");
  }
  EXPECT_EQ(directory.names(), std::vector<std::string>{"page.dat"});
}

}  // namespace
}  // namespace kestra
