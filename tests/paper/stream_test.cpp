// Tests of kestra-paper on files and standard input: what it says of labels, draws, lists, judges.
//
// Streams are planted with one thing wrong each; the verdict must name it and nothing else.
#include <gtest/gtest.h>
#include <png.h>
#include <sys/resource.h>

#include <sstream>

#include "tests/paper/paper_run.h"

namespace kestra::paper {
namespace {

using Strings = std::vector<std::string>;

Strings texts(const JsonValue& array) {
  Strings strings;
  for (const JsonValue& item : array.items) strings.push_back(item.string);
  return strings;
}

// Rows of '#' and '.', read by libpng.
Strings pictureRows(const std::string& path) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, path.c_str()) == 0) return {};
  image.format = PNG_FORMAT_GRAY;
  std::vector<png_byte> pixels(PNG_IMAGE_SIZE(image));
  png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr);
  Strings rows;
  for (std::size_t y = 0; y < image.height; ++y) {
    std::string row;
    for (std::size_t x = 0; x < image.width; ++x) {
      row += pixels[y * image.width + x] < 128 ? '#' : '.';
    }
    rows.push_back(row);
  }
  return rows;
}

constexpr unsigned kA = 0x80;
constexpr unsigned kB = 0x81;
constexpr unsigned kC = 0x83;

// Wanted are the labels A, B and C.
void want(const Folder& folder) {
  folder.write("wanted", listLine(smallFrame(kA), "A") + listLine(smallFrame(kB), "B") +
                             listLine(smallFrame(kC), "C"));
}

TEST(PaperStream, SaysEverythingOfALabel) {
  const Folder folder;
  const Result result = runOn(folder, smallLabel(kA, 258));
  EXPECT_EQ(result.status, 0) << result.errors;
  ASSERT_EQ(result.labels.size(), 1U);
  const JsonValue& label = result.labels[0];
  EXPECT_EQ(label["number"].number, 1);
  EXPECT_TRUE(label["whole"].boolean);
  EXPECT_EQ(label["connection"].number, 1);
  EXPECT_EQ(label["offset"].number, 0);
  EXPECT_EQ(label["bytes"].number, 39);
  EXPECT_EQ(label["speed"].number, 2);
  EXPECT_EQ(label["darkness"].number, 1);
  EXPECT_EQ(label["media"].number, 1);
  EXPECT_EQ(label["width"].number, 12);
  EXPECT_EQ(label["height"].number, 2);
  EXPECT_EQ(label["gap"].number, 16);
  EXPECT_EQ(label["page"].number, 258);
  EXPECT_EQ(label["record"].number, 5);
  EXPECT_EQ(label["rows"].number, 2);
  EXPECT_EQ(label["rows_came"].number, 2);
  EXPECT_EQ(label["wrong_rows"].number, 0);
  EXPECT_EQ(label["white_tail"].number, 0);
  EXPECT_EQ(label["digest"].string + "  x\n", listLine(smallFrame(), "x"));
  EXPECT_EQ(label["cut"].kind, JsonValue::Kind::kNull);
  EXPECT_EQ(label["png"].kind, JsonValue::Kind::kNull);
  EXPECT_GT(label["first"].number, 1e9);
  EXPECT_GE(label["last"].number, label["first"].number);
  EXPECT_LT(label["last"].number - label["first"].number, 5);
}

TEST(PaperStream, SaysWhatCameOfATornLabel) {
  const Folder folder;
  const Result result = runOn(folder, smallLabel() + smallLabel().substr(0, 36));
  EXPECT_EQ(result.status, 1);
  ASSERT_EQ(result.labels.size(), 2U);
  const JsonValue& torn = result.labels[1];
  EXPECT_EQ(torn["number"].number, 2);
  EXPECT_FALSE(torn["whole"].boolean);
  EXPECT_EQ(torn["cut"].string, "end of connection");
  EXPECT_EQ(torn["offset"].number, 39);
  EXPECT_EQ(torn["bytes"].number, 36);
  EXPECT_EQ(torn["rows"].number, 2);
  EXPECT_EQ(torn["rows_came"].number, 1);
  EXPECT_EQ(torn["digest"].kind, JsonValue::Kind::kNull);
  EXPECT_EQ(result.counters["whole"].number, 1);
  EXPECT_EQ(result.counters["torn"].number, 1);
  EXPECT_EQ(result.counters["faults"].number, 0);
  EXPECT_EQ(result.counters["bytes"].number, 75);
}

TEST(PaperStream, ACommandAloneAtTheEndIsATornLabel) {
  const Folder folder;
  const Result result = runOn(folder, smallLabel() + command());
  EXPECT_EQ(result.status, 1);
  ASSERT_EQ(result.labels.size(), 2U);
  EXPECT_FALSE(result.labels[1]["whole"].boolean);
  EXPECT_EQ(result.labels[1]["bytes"].number, 7);
  EXPECT_EQ(result.labels[1]["speed"].number, 2);
  EXPECT_EQ(result.labels[1]["rows"].kind, JsonValue::Kind::kNull);
}

TEST(PaperStream, DrawsWholeAndTornLabels) {
  const Folder folder;
  Bytes late = smallLabel().substr(0, 37);  // row 1 without its last byte but one and its last
  const Result result = runOn(folder, smallLabel() + late, {"--output", "new/out"});
  EXPECT_EQ(result.labels.at(0)["png"].string, "label-0001.png");
  EXPECT_EQ(result.labels.at(1)["png"].string, "label-0002.png");
  EXPECT_EQ(pictureRows(folder.path("new/out/label-0001.png")),
            (Strings{"........############....", "........#..........#...."}));
  EXPECT_EQ(pictureRows(folder.path("new/out/label-0002.png")),
            (Strings{"........############....", "........................"}));
}

TEST(PaperStream, GoesOnWithoutAPictureThatCannotBeWritten) {
  const Folder folder;
  // The name is taken by a folder.
  EXPECT_EQ(runOn(folder, "", {"--output", "out/label-0001.png"}).status, 0);
  const Result result = runOn(folder, smallLabel() + smallLabel(), {"--output", "out"});
  EXPECT_NE(result.errors.find("label 1 has no picture: out/label-0001.png cannot be written"),
            std::string::npos)
      << result.errors;
  EXPECT_EQ(result.labels.at(0)["png"].kind, JsonValue::Kind::kNull);
  EXPECT_EQ(result.labels.at(1)["png"].string, "label-0002.png");
}

TEST(PaperStream, CountsWhiteRowsAtTheEnd) {
  const Folder folder;
  Bytes white = largeLabel(5, 4);
  white.replace(white.size() - 10, 10, Bytes(10, '\0'));
  const Result result = runOn(folder, white);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.labels.at(0)["white_tail"].number, 2);
}

TEST(PaperStream, TellsFaultsWithTheirPlace) {
  const Folder folder;
  Bytes wrongRow = smallLabel();
  wrongRow[29] = 3;
  const Result result = runOn(folder, smallLabel() + "AB" + wrongRow);
  EXPECT_EQ(result.status, 1);
  ASSERT_EQ(result.faults.size(), 2U);
  EXPECT_EQ(result.faults[0]["offset"].number, 39);
  EXPECT_EQ(result.faults[0]["came"].string, "41 42 1B 73 01 00 00");
  EXPECT_EQ(result.faults[0]["expected"].string, "1B 73 01 00 00 (a command)");
  EXPECT_EQ(result.faults[1]["offset"].number, 41 + 29);
  EXPECT_EQ(result.faults[1]["label"].number, 2);
  EXPECT_EQ(result.faults[1]["came"].string, "03 00");
  EXPECT_EQ(result.labels.at(1)["wrong_rows"].number, 1);
  EXPECT_EQ(result.counters["garbage"].number, 2);
}

TEST(PaperStream, SaysThatAFaultCutALabel) {
  const Folder folder;
  const Result result = runOn(folder, command() + smallLabel().substr(0, 20));
  ASSERT_EQ(result.labels.size(), 2U);
  EXPECT_EQ(result.labels[0]["cut"].string, "fault");
  EXPECT_EQ(result.labels[1]["cut"].string, "end of connection");
}

TEST(PaperStream, TakesWhatItIsToldToTake) {
  const Folder folder;
  EXPECT_EQ(runOn(folder, smallFrame()).status, 1);
  EXPECT_EQ(runOn(folder, smallFrame(), {"--no-command"}).status, 0);
  Bytes wrongRow = smallLabel();
  wrongRow[29] = 3;
  EXPECT_EQ(runOn(folder, wrongRow).status, 1);
  EXPECT_EQ(runOn(folder, wrongRow, {"--any-count"}).status, 0);
}

struct Planted {
  const char* what;
  Bytes stream;
  Strings lost = {};
  Strings twice = {};
  std::size_t outOfOrder = 0;
  Strings unknown = {};
  double torn = 0;
  double faults = 0;
  double garbage = 0;
  Strings relaxed = {};  // options with which it is good; empty: none
};

TEST(PaperVerdict, NamesWhatIsPlantedAndNothingElse) {
  const Bytes a = smallLabel(kA);
  const Bytes b = smallLabel(kB);
  const Bytes c = smallLabel(kC);
  Bytes whitened = b;
  whitened.replace(34, 5, Bytes(5, '\0'));
  const std::vector<Planted> all = {
      {"nothing", a + b + c},
      {"lost", a + c, {"B"}},
      {"all lost", "", {"A", "B", "C"}},
      {"twice", a + b + b + c, {}, {"B 1"}, 0, {}, 0, 0, 0, {"--allow-twice", "1"}},
      {"three times", a + a + a + b + c, {}, {"A 2"}, 0, {}, 0, 0, 0, {"--allow-twice=2"}},
      {"order", a + c + b, {}, {}, 1, {}, 0, 0, 0, {"--any-order"}},
      {"torn, then whole", a + b.substr(0, 20), {"B", "C"}, {}, 0, {}, 1},
      {"torn at the end", a + b + c + a.substr(0, 8), {}, {}, 0, {}, 1, 0, 0, {"--allow-torn"}},
      {"unknown",
       a + b + smallLabel(0xFF) + c,
       {},
       {},
       0,
       {"label 3"},
       0,
       0,
       0,
       {"--allow-unknown", "1"}},
      {"ended in white", a + whitened + c, {"B"}, {}, 0, {"label 2"}},
      {"garbage", a + "x" + b + c, {}, {}, 0, {}, 0, 1, 1},
      {"a command too many", a + command() + b + c, {}, {}, 0, {}, 1, 1, 0},
      {"torn, followed by the next",
       a + b.substr(0, 29) + b + c,
       {"B"},
       {},
       0,
       {"label 2"},
       0,
       2,
       29},
  };
  const Folder folder;
  want(folder);
  for (const Planted& planted : all) {
    const Result result = runOn(folder, planted.stream, {"--expect", "wanted"});
    const bool good = std::string(planted.what) == "nothing";
    EXPECT_EQ(result.status, good ? 0 : 1) << planted.what;
    EXPECT_EQ(result.verdict["good"].boolean, good) << planted.what;
    EXPECT_EQ(texts(result.verdict["lost"]), planted.lost) << planted.what;
    Strings twice;
    for (const JsonValue& repeat : result.verdict["twice"].items) {
      twice.push_back(repeat["name"].string + " " +
                      std::to_string(static_cast<int>(repeat["count"].number)));
    }
    EXPECT_EQ(twice, planted.twice) << planted.what;
    EXPECT_EQ(result.verdict["out_of_order"].items.size(), planted.outOfOrder) << planted.what;
    EXPECT_EQ(texts(result.verdict["unknown"]), planted.unknown) << planted.what;
    EXPECT_EQ(result.verdict["torn"].number, planted.torn) << planted.what;
    EXPECT_EQ(result.verdict["faults"].number, planted.faults) << planted.what;
    EXPECT_EQ(result.verdict["garbage"].number, planted.garbage) << planted.what;
    // Every permission but the one that is needed changes nothing.
    for (const Strings& option :
         {Strings{"--allow-twice", "1"}, Strings{"--allow-twice=2"}, Strings{"--any-order"},
          Strings{"--allow-torn"}, Strings{"--allow-unknown", "1"}}) {
      Strings words = {"--expect", "wanted"};
      words.insert(words.end(), option.begin(), option.end());
      const bool enough = option == planted.relaxed ||
                          (option[0] == "--allow-twice=2" && planted.relaxed.size() == 2 &&
                           planted.relaxed[0] == "--allow-twice");
      EXPECT_EQ(runOn(folder, planted.stream, words).status, good || enough ? 0 : 1)
          << planted.what << " with " << option[0];
    }
  }
}

TEST(PaperVerdict, IsToldInWords) {
  const Folder folder;
  want(folder);
  const Result result =
      runOn(folder, smallLabel(kA) + smallLabel(kA) + smallLabel(kC), {"--expect", "wanted"});
  EXPECT_EQ(result.errors,
            "BAD: 3 whole; lost: B; twice: A; out of order: none; unknown: none; torn: 0; "
            "faults: 0; garbage: 0 bytes\n");
  EXPECT_EQ(runOn(folder, "", {"--expect", "wanted", "--quiet"}).errors, "");
}

TEST(PaperVerdict, JudgesListsOfWhatCame) {
  const Folder folder;
  want(folder);
  const auto judge = [&](const Bytes& came, Strings more = {}) {
    folder.write("came", came);
    more.insert(more.begin(), {"--came", "came", "--expect", "wanted"});
    Paper paper(folder, more);
    return paper.finish();
  };
  const std::string a = listLine(smallFrame(kA), "1");
  const std::string b = listLine(smallFrame(kB), "2");
  const std::string c = listLine(smallFrame(kC), "3");
  EXPECT_EQ(judge(a + b + c), 0);
  EXPECT_EQ(judge(a + c), 1);
  EXPECT_EQ(judge(b + c + a), 1);
  EXPECT_EQ(judge(b + c + a, {"--any-order"}), 0);
  EXPECT_EQ(judge("nonsense"), 2);
}

TEST(PaperList, OfAStreamIsTheListThatItFulfils) {
  const Folder folder;
  const Bytes stream = smallLabel(kA) + smallLabel(kB).substr(0, 30);
  const Result result = runOn(folder, smallLabel(kB) + stream, {"--list"});
  EXPECT_EQ(result.output,
            listLine(smallFrame(kB), "label 1") + listLine(smallFrame(kA), "label 2"));
  folder.write("wanted", result.output);
  EXPECT_EQ(runOn(folder, smallLabel(kB) + smallLabel(kA), {"--expect", "wanted"}).status, 0);
}

TEST(PaperList, OfFramesHasTheirFileNames) {
  const Folder folder;
  folder.write("page_1.dat", smallFrame(kA, 1));
  folder.write("page_2.dat", smallFrame(kB, 2));
  Paper paper(folder, {"--digest", "page_1.dat", folder.path("page_2.dat")});
  EXPECT_EQ(paper.finish(), 0);
  EXPECT_EQ(paper.output(),
            listLine(smallFrame(kA), "page_1.dat") + listLine(smallFrame(kB), "page_2.dat"));
}

TEST(PaperList, RefusesWhatIsNoFrame) {
  const Folder folder;
  const Bytes frame = smallFrame();
  for (const Bytes& bytes : {Bytes(), frame.substr(0, 31), frame + "x", frame + frame,
                             frame + frame.substr(0, 9), smallLabel(), "x" + frame}) {
    folder.write("frame", bytes);
    Paper paper(folder, {"--digest", "frame"});
    EXPECT_EQ(paper.finish(), 2) << bytes.size();
    EXPECT_EQ(paper.output(), "");
    EXPECT_EQ(paper.errors(),
              "kestra-paper: frame is no page frame; kestra-proof says what is wrong with it\n");
  }
}

TEST(PaperStream, ReadsAFile) {
  const Folder folder;
  folder.write("bytes", smallLabel() + smallLabel());
  Paper paper(folder, {"bytes"});
  EXPECT_EQ(paper.finish(), 0);
  EXPECT_EQ(paper.events("label").size(), 2U);
}

TEST(PaperStream, AddsToItsLog) {
  const Folder folder;
  EXPECT_EQ(runOn(folder, smallLabel(), {"--log", "log"}).status, 0);
  const Result second = runOn(folder, smallLabel(), {"--log", "log"});
  EXPECT_EQ(second.output, "");
  std::istringstream lines(folder.read("log"));
  int labels = 0;
  for (std::string line; std::getline(lines, line);) {
    labels += line.find("\"event\":\"label\"") != std::string::npos ? 1 : 0;
  }
  EXPECT_EQ(labels, 2);
}

// 65,535 rows of 65,535 bytes are announced; a few come.
TEST(PaperStream, NeedsNoMemoryForWhatIsOnlyAnnounced) {
  const Folder folder;
  Bytes stream = command() + bytes({0x53, 0x49, 0x5A, 1, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0}) +
                 bytes({0x1D, 0x76, 0x30, 0, 0xFF, 0xFF, 0xFF, 0xFF}) + Bytes(200000, '\0');
  const Result result = runOn(folder, stream, {"--output", "out"});
  EXPECT_EQ(result.status, 1);
  ASSERT_EQ(result.labels.size(), 1U);
  EXPECT_EQ(result.labels[0]["rows_came"].number, 3);  // 200,000 / 65,535
  EXPECT_EQ(result.labels[0]["png"].kind, JsonValue::Kind::kNull);
  EXPECT_NE(result.errors.find("label 1 has no picture: the label is too large for a picture: "
                               "65535 rows of 65535 bytes"),
            std::string::npos)
      << result.errors;
  rusage usage = {};
  getrusage(RUSAGE_CHILDREN, &usage);
  EXPECT_LT(usage.ru_maxrss, 1000000);  // kB; sanitizers need most of it
}

TEST(PaperStream, TheLastActionOfAFileIsItsEnd) {
  const Folder folder;
  const Result result =
      runOn(folder, smallLabel() + smallLabel() + smallLabel(), {"--fault", "label 2 80% close"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.counters["whole"].number, 1);
  EXPECT_EQ(result.counters["torn"].number, 1);
  EXPECT_EQ(result.labels.at(1)["bytes"].number, 32);  // of 39: 31.2, rounded up
}

}  // namespace
}  // namespace kestra::paper
