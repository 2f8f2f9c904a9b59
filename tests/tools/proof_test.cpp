// Black-box tests of kestra-proof: what it says, what it draws and how it refuses.
//
// A proof is believed, so each dot of a small page is compared with one drawn by hand.
#include <gtest/gtest.h>
#include <png.h>
#include <unistd.h>

#include "tests/tools/frame_bytes.h"
#include "tests/tools/proof_run.h"

namespace kestra {
namespace {

bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(KestraProof, DrawsEveryDotBehindItsMargin) {
  const ProofDirectory directory;
  directory.write("page.dat", smallFrame());
  const ProofResult result = directory.run({"page.dat"});
  EXPECT_EQ(result.status, 0) << result.errors;
  const Picture picture = readPicture(directory.path("page.png"));
  ASSERT_EQ(picture.width, 24U);
  ASSERT_EQ(picture.height, 2U);
  EXPECT_EQ(picture.bit_depth, 1);
  EXPECT_EQ(picture.colour_type, PNG_COLOR_TYPE_GRAY);
  // One margin byte, then FF F0 and 80 10.
  EXPECT_EQ(picture.rows[0], "........############....");
  EXPECT_EQ(picture.rows[1], "........#..........#....");
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
            "  page number: 42\n"
            "  media:       paper with black marks\n"
            "  page size:   812 x 406 dots, 101.6 x 50.8 mm at 203 dpi\n"
            "  gap:         24 dots, 3.0 mm\n"
            "  rows:        1 of 102 bytes behind a margin of 2 bytes\n"
            "  black dots:  8; the count of every row agrees\n"
            "  picture:     page.png, 832 x 1 pixels\n");
}

TEST(KestraProof, PutsTheResolutionIntoThePicture) {
  const ProofDirectory directory;
  directory.write("page.dat", smallFrame());
  EXPECT_EQ(directory.run({"page.dat"}).status, 0);
  EXPECT_EQ(readPicture(directory.path("page.png")).dots_per_metre, 7992U);  // 203 / 0.0254
  EXPECT_EQ(directory.run({"--dpi", "300", "page.dat"}).status, 0);
  EXPECT_EQ(readPicture(directory.path("page.png")).dots_per_metre, 11811U);  // 300 / 0.0254
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
  EXPECT_TRUE(holds(result.output,
                    "0; 9 rows disagree with the announced count: row 2, 5-7, 9, 11, 13 and 2 more "
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
            "out.bin: command 1: speed code 2 (PrintSpeed 4), darkness 1 (Middle)\n"
            "queue.pgc: the next page gets the number 4\n");
  const ProofResult stream = directory.run({"--command", "-"}, {0x1B, 0x73, 1, 0, 0, 0, 2, 0x1B});
  EXPECT_EQ(stream.status, 1);
  EXPECT_EQ(stream.output, "-: command 1: speed code 0 (PrintSpeed 2 or 0), darkness 2 (Dark)\n");
  EXPECT_EQ(stream.errors, "kestra-proof: -: command 2 is cut off: 1 bytes, a command has 7\n");
  directory.write("queue.pgc", {4});
  EXPECT_EQ(directory.run({"queue.pgc"}).status, 1);
}

TEST(KestraProof, AnswersHelpAndVersion) {
  const ProofDirectory directory;
  const ProofResult help = directory.run({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* option :
       {"--dpi", "-o", "--output", "--output-dir", "--command", "--help", "--version", "--model",
        "--ppd", "--compare", "--margins", "--scale", "--json", "--keep", "--quiet"}) {
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
      {"--model", "label", "--ppd", "x.ppd", "page.dat"},
      {"--keep"},
      {"--compare", "page.dat"},
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
