// Black-box tests of the comparison sheet: ten prints on one picture, each the same as alone.
//
// People choose a halftone by it, so no dot of a tile may differ from the print of its name.
#include <gtest/gtest.h>

#include "tests/tools/json_value.h"
#include "tests/tools/proof_run.h"
#include "tests/tools/raster_document.h"
#include "tools/proof/letters.h"

namespace kestra::proof {
namespace {

using blackbox::JobCase;

// The rows of a caption line, letter by letter of 5 dots and a space of 1, each dot `scale` wide.
std::vector<std::string> writing(const std::string& words, unsigned scale) {
  std::vector<std::string> rows;
  for (std::size_t y = 0; y < kLetterHeight; ++y) {
    std::string row;
    for (const char letter : words) {
      const unsigned dots = letterRow(letter, y);
      for (unsigned bit = 0x10; bit > 0; bit /= 2) row += (dots & bit) != 0 ? '#' : '.';
      row += '.';
    }
    rows.push_back(row);
  }
  return enlarge(rows, scale);
}

// Whether the rows are somewhere in the picture.
bool shows(const Picture& picture, const std::vector<std::string>& rows) {
  for (std::size_t y = 0; y + rows.size() <= picture.rows.size(); ++y) {
    std::size_t x = picture.rows[y].find(rows[0]);
    for (; x != std::string::npos; x = picture.rows[y].find(rows[0], x + 1)) {
      if (cut(picture, x, y, rows[0].size(), rows.size()) == rows) return true;
    }
  }
  return false;
}

TEST(Compare, HoldsTheTenPrintsAsTheyAreAlone) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 64, "photo");
  job.addPage(200, 48, "gradient");
  std::vector<std::string> words = writeDocument(directory, job);
  words.insert(words.end(), {"--compare", "--json"});
  const ProofResult result = directory.run(words);
  EXPECT_EQ(result.status, 0) << result.errors;
  const auto json = parseJson(result.output);
  ASSERT_TRUE(json) << result.output;
  for (std::size_t page = 0; page < 2; ++page) {
    const std::string name = "pages-compare-" + std::to_string(page + 1) + ".png";
    const Picture sheet = readPicture(directory.path(name));
    EXPECT_EQ(sheet.bitDepth, 1);
    EXPECT_EQ(sheet.dotsPerMetre, 7992U);  // 203 / 0.0254
    const JsonValue& tiles = (*json)["documents"][0]["pages"][page]["halftones"];
    ASSERT_EQ(tiles.items.size(), 10U);
    for (int halftone = 0; halftone < 10; ++halftone) {
      JobCase alone = job;
      alone.halftone(halftone);
      const std::vector<std::string> rows = plainPages(alone).at(page);
      const JsonValue& tile = tiles[static_cast<std::size_t>(halftone)];
      EXPECT_EQ(tile["halftone"].string, blackbox::halftoneName(halftone));
      EXPECT_EQ(tile["black_dots"].number, static_cast<double>(countDots(rows)));
      // The page without its margin: the head has 812 dots, so the margins are
      // ((812 - 100) / 2 + 7) / 8 = 45 and ((812 - 200) / 2 + 7) / 8 = 39 bytes.
      const std::size_t width = page == 0 ? 100 : 200;
      const std::size_t margin = page == 0 ? 360 : 312;
      std::vector<std::string> wanted;
      for (const std::string& row : rows) wanted.push_back(row.substr(margin, width));
      EXPECT_EQ(cut(sheet, static_cast<std::size_t>(tile["x"].number),
                    static_cast<std::size_t>(tile["y"].number), width, rows.size()),
                wanted)
          << name << ", " << tile["halftone"].string;
    }
  }
}

TEST(Compare, TellsThePlacesOfAnEnlargedSheet) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(812, 20, "gradient");  // 812 dots are 101.5 bytes
  std::vector<std::string> words = writeDocument(directory, job);
  words.insert(words.end(), {"--compare", "--json", "--scale", "2"});
  const ProofResult result = directory.run(words);
  EXPECT_EQ(result.status, 0) << result.errors;
  const auto json = parseJson(result.output);
  ASSERT_TRUE(json) << result.output;
  const Picture sheet = readPicture(directory.path("pages-compare-1.png"));
  for (std::size_t halftone = 0; halftone < 10; ++halftone) {
    const JsonValue& tile = (*json)["documents"][0]["pages"][0]["halftones"][halftone];
    EXPECT_EQ(tile["width"].number, 2 * 812);
    EXPECT_EQ(tile["height"].number, 2 * 20);
    JobCase alone = job;
    alone.halftone(static_cast<int>(halftone));
    std::vector<std::string> wanted = plainPages(alone).at(0);
    for (std::string& row : wanted) row.resize(812);  // a page as wide as the head has no margin
    EXPECT_EQ(cut(sheet, static_cast<std::size_t>(tile["x"].number),
                  static_cast<std::size_t>(tile["y"].number), 2 * std::size_t{812}, 40),
              enlarge(wanted, 2))
        << halftone;
  }
}

// Captions as large as on other sheets of 300 dpi would push small labels far apart.
TEST(Compare, WritesSmallerUnderSmallLabels) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 40, "blank", 0, 300);
  std::vector<std::string> words = writeDocument(directory, job);
  words.emplace_back("--compare");
  EXPECT_EQ(directory.run(words).status, 0);
  const Picture sheet = readPicture(directory.path("pages-compare-1.png"));
  EXPECT_TRUE(shows(sheet, writing("Burkes", 2)));
  EXPECT_FALSE(shows(sheet, writing("Burkes", 4)));
}

TEST(Compare, NamesEachPrintAndWhatRuns) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(400, 40, "blank");
  std::vector<std::string> words = writeDocument(directory, job);
  words.emplace_back("--compare");
  EXPECT_EQ(directory.run(words).status, 0);
  const Picture sheet = readPicture(directory.path("pages-compare-1.png"));
  // The longest words, "Jarvis, Judice, Ninke diffusion", have 31 letters of 6 dots: on 400 dots
  // they are 400 / 186 = 2 times as
  // large as drawn. The longest name, JarvisJudiceNinke, has 17 letters: 400 / 102 = 3 times.
  for (int halftone = 0; halftone < 10; ++halftone) {
    EXPECT_TRUE(shows(sheet, writing(blackbox::halftoneName(halftone), 3))) << halftone;
  }
  for (const char* runs : {"threshold at half black", "Burkes diffusion", "stencil, fixed tones"}) {
    EXPECT_TRUE(shows(sheet, writing(runs, 2))) << runs;
  }
  EXPECT_FALSE(shows(sheet, writing("None of these", 2)));
}

TEST(Compare, KeepsEveryPrintUnderItsName) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 64, "photo");
  std::vector<std::string> words = writeDocument(directory, job);
  words.insert(words.end(), {"--compare", "--keep", "left"});
  EXPECT_EQ(directory.run(words).status, 0);
  JobCase alone = job;
  alone.halftone(9);
  EXPECT_EQ(directory.read("left/Tattoo_V7/page_0001_jobid_000001_0000.dat"),
            blackbox::predict(alone).frames.begin()->second);
}

TEST(Compare, TakesNoHalftone) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 64, "photo");
  job.halftone(3);
  std::vector<std::string> words = writeDocument(directory, job);
  words.emplace_back("--compare");
  const ProofResult result = directory.run(words);
  EXPECT_EQ(result.status, 2);
  EXPECT_NE(result.errors.find("leave HalftoneType out"), std::string::npos) << result.errors;
}

TEST(Letters, AreReadable) {
  // T and the small i, drawn by hand.
  const std::vector<std::string> wanted = {"#####.", "..#...", "..#...", "..#...",
                                           "..#...", "..#...", "..#..."};
  EXPECT_EQ(writing("T", 1), wanted);
  const std::vector<std::string> small = {"..#...", "......", ".##...", "..#...",
                                          "..#...", "..#...", ".###.."};
  EXPECT_EQ(writing("i", 1), small);
  EXPECT_EQ(letterRow('T', kLetterHeight), 0U);
  EXPECT_EQ(letterRow('\x01', 0), 0x1FU) << "an unknown letter is a box";
}

}  // namespace
}  // namespace kestra::proof
