// Tests of the JSON that programs read: escaping, and what stands in it for a document.
#include "tools/base/json.h"

#include <gtest/gtest.h>

#include "tests/tools/json_value.h"
#include "tests/tools/proof_run.h"
#include "tests/tools/raster_document.h"

namespace kestra {
namespace {

using blackbox::JobCase;

TEST(Json, EscapesWhatMayNotStandInAString) {
  EXPECT_EQ(jsonString("a\"b\\c"), "\"a\\\"b\\\\c\"");
  EXPECT_EQ(jsonString("tab\tline\n"), "\"tab\\tline\\n\"");
  EXPECT_EQ(jsonString(std::string("\0\x1F\x7F", 3)), "\"\\u0000\\u001f\\u007f\"");
  EXPECT_EQ(jsonString("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"),
            "\"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\"")
      << "two, three and four bytes";
}

TEST(Json, ReplacesWhatIsNoUtf8) {
  const std::string mark = "\xEF\xBF\xBD";
  EXPECT_EQ(jsonString("a\xFF"
                       "b"),
            "\"a" + mark + "b\"");
  EXPECT_EQ(jsonString("\xC3"), "\"" + mark + "\"") << "cut off";
  EXPECT_EQ(jsonString("\xC0\x80"), "\"" + mark + mark + "\"") << "longer than needed";
  EXPECT_EQ(jsonString("\xED\xA0\x80"), "\"" + mark + mark + mark + "\"") << "half of a pair";
}

// Each byte that begins no character becomes a mark; what follows is looked at anew.
TEST(Json, ReplacesCharactersThatBreakOffOrAreOutOfRange) {
  const std::string m = "\xEF\xBF\xBD";
  EXPECT_EQ(jsonString("\xC3("), "\"" + m + "(\"");
  EXPECT_EQ(jsonString("\xE2(\xA1"), "\"" + m + "(" + m + "\"");
  EXPECT_EQ(jsonString("\xE2\x82("), "\"" + m + m + "(\"");
  EXPECT_EQ(jsonString("\xE0\x80\x80"), "\"" + m + m + m + "\"") << "longer than needed";
  EXPECT_EQ(jsonString("\xE0\xA0\x80"), "\"\xE0\xA0\x80\"") << "the first of three bytes";
  EXPECT_EQ(jsonString("\xED\x9F\xBF"), "\"\xED\x9F\xBF\"") << "the last before the pairs";
  EXPECT_EQ(jsonString("\xF0\x80\x80\x80"), "\"" + m + m + m + m + "\"") << "longer than needed";
  EXPECT_EQ(jsonString("\xF4\x90\x80\x80"), "\"" + m + m + m + m + "\"") << "beyond the last";
  EXPECT_EQ(jsonString("\xF4\x8F\xBF\xBF"), "\"\xF4\x8F\xBF\xBF\"") << "the last of all";
  EXPECT_EQ(jsonString("\xF0(\x98\x80"), "\"" + m + "(" + m + m + "\"");
  EXPECT_EQ(jsonString("\xF0\x9F(\x80"), "\"" + m + m + "(" + m + "\"");
  EXPECT_EQ(jsonString("\xF0\x9F\x98("), "\"" + m + m + m + "(\"");
  EXPECT_EQ(jsonString("\xF5\x80"), "\"" + m + m + "\"");
}

TEST(Json, SeparatesValuesByCommas) {
  JsonText text;
  text.object().name("a").number(1).name("b").array().endArray().name("c").array();
  std::string whole = text.take();
  text.boolean(true).fraction(0.5, 3).strings({"x", "y"}).fraction(1e308 * 10, 2);
  text.endArray().endObject();
  whole += text.take();
  const auto value = parseJson(whole);
  ASSERT_TRUE(value) << whole;
  EXPECT_EQ((*value)["a"].number, 1);
  EXPECT_EQ((*value)["b"].items.size(), 0U);
  EXPECT_EQ((*value)["c"].items.size(), 4U);
  EXPECT_EQ((*value)["c"][1].number, 0.5);
  EXPECT_EQ((*value)["c"][2][1].string, "y");
  EXPECT_EQ((*value)["c"][3].kind, JsonValue::Kind::kNull);
}

// The same values in both forms.
std::string oneOfEach(JsonForm form) {
  JsonText text(form);
  text.object().name("a").number(1).name("b").array().endArray();
  text.name("c").array().null().object().name("d").string("e").endObject().endArray();
  return text.endObject().take();
}

TEST(Json, StandsOnALineEachForPeople) {
  EXPECT_EQ(oneOfEach(JsonForm::kIndented),
            "{\n"
            "  \"a\": 1,\n"
            "  \"b\": [],\n"
            "  \"c\": [\n"
            "    null,\n"
            "    {\n"
            "      \"d\": \"e\"\n"
            "    }\n"
            "  ]\n"
            "}");
}

TEST(Json, IsOneLineForAJournal) {
  EXPECT_EQ(oneOfEach(JsonForm::kLine), R"({"a":1,"b":[],"c":[null,{"d":"e"}]})");
}

TEST(Json, ReaderOfTheTestsForgivesNothing) {
  for (const char* text : {"", "{", "[1,]", "{\"a\" 1}", "[1] x", "\"\n\"", "\"\xFF\"", "01", "1.",
                           "{\"a\":1,}", "\"\\x\"", "nul"}) {
    EXPECT_FALSE(parseJson(text)) << text;
  }
}

TEST(Json, TellsOfAPrintedDocument) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 40, "photo");
  job.addPage(100, 40, "bars");
  job.halftone(2);
  job.choose("Darkness", "Dark");
  std::vector<std::string> words = writeDocument(directory, job);
  words.insert(words.end(), {"--json", "--scale", "2"});
  const ProofResult result = directory.run(words);
  EXPECT_EQ(result.status, 0) << result.errors;
  const auto json = parseJson(result.output);
  ASSERT_TRUE(json) << result.output;
  EXPECT_TRUE((*json)["ok"].boolean);
  const JsonValue& document = (*json)["documents"][0];
  EXPECT_EQ(document["document"].string, "pages.ras");
  EXPECT_EQ(document["type"].string, "CUPS raster");
  EXPECT_EQ(document["options"]["HalftoneType"].string, "Ordered");
  EXPECT_EQ(document["options"]["Darkness"].string, "Dark");
  ASSERT_EQ(document["pages"].items.size(), 2U);
  const JsonValue& page = document["pages"][0];
  EXPECT_EQ(page["page"].number, 1);
  EXPECT_EQ(page["file"].string, "pages-1.png");
  EXPECT_EQ(page["width"].number, 200);  // 100 dots, each drawn twice as wide
  EXPECT_EQ(page["height"].number, 80);
  EXPECT_EQ(page["dpi"][0].number, 203);
  EXPECT_EQ(page["margin_dots"].number, 360);
  EXPECT_EQ(page["media"].string, "gaps");
  EXPECT_EQ(page["gap_dots"].number, 15);
  EXPECT_EQ(page["page_number"].number, 1);
  EXPECT_EQ(page["speed_code"].number, 2);  // PrintSpeed 4
  EXPECT_EQ(page["darkness"].number, 2);    // Dark
  EXPECT_EQ(page["label_dots"][0].number, 100);
  EXPECT_EQ(page["label_dots"][1].number, 40);
  EXPECT_NEAR(page["millimetres"][0].number, 100 * 25.4 / 203, 0.005);
  EXPECT_NEAR(page["millimetres"][1].number, 40 * 25.4 / 203, 0.005);
  // A frame announces what the filter cut from the millimetres: as many dots or one less.
  EXPECT_NEAR(page["announced_dots"][0].number, 99.5, 0.5);
  EXPECT_NEAR(page["announced_dots"][1].number, 39.5, 0.5);
  const std::size_t dots = countDots(plainPages(job).at(0));
  EXPECT_EQ(page["black_dots"].number, static_cast<double>(dots));
  EXPECT_NEAR(page["coverage"].number, static_cast<double>(dots) / 4000, 1e-6);
  EXPECT_EQ(page["warnings"].kind, JsonValue::Kind::kArray);
  EXPECT_EQ(document["errors"].items.size(), 0U);
  EXPECT_EQ(document["log_errors"].items.size(), 0U);
}

TEST(Json, TellsOfFramesCountersCommandsAndFailures) {
  const ProofDirectory directory;
  const std::string odd = "a \"page\"\t\xFF.dat";
  directory.write(odd, smallFrame());
  directory.write("broken.dat", Bytes{1, 2, 3});
  directory.write("queue.pgc", Bytes{4, 1});
  directory.write("out.bin", Bytes{0x1B, 0x73, 1, 0, 0, 2, 1});
  const ProofResult result =
      directory.run({"--json", odd, "broken.dat", "queue.pgc", "--command", "out.bin"});
  EXPECT_EQ(result.status, 1);
  const auto json = parseJson(result.output);
  ASSERT_TRUE(json) << result.output;
  EXPECT_FALSE((*json)["ok"].boolean);
  const JsonValue& documents = (*json)["documents"];
  ASSERT_EQ(documents.items.size(), 4U);
  EXPECT_EQ(documents[0]["document"].string, "a \"page\"\t\xEF\xBF\xBD.dat");
  EXPECT_EQ(documents[0]["pages"][0]["black_dots"].number, 14);  // 12 and 2
  EXPECT_EQ(documents[0]["pages"][0]["page_number"].number, 7);
  EXPECT_EQ(documents[1]["errors"][0].string, "too short: 3 bytes, a frame has at least 22");
  EXPECT_EQ(documents[2]["pages"][0]["next_page_number"].number, 260);  // 4 + 1 x 256
  EXPECT_EQ(documents[3]["pages"][0]["speed_code"].number, 2);
  EXPECT_EQ(documents[3]["pages"][0]["darkness"].number, 1);
}

TEST(Json, KeepsTheWarningsOfADocumentToItself) {
  const ProofDirectory directory;
  JobCase pale;  // the threshold drops its grey
  pale.pages = {
      {testing_support::makeHeader(100, 40, 100), testing_support::uniform(100, 40, 128)}};
  writeDocument(directory, pale);
  directory.write("pale.ras", directory.read("pages.ras"));
  JobCase good;
  good.addPage(100, 40, "bars");
  std::vector<std::string> words = writeDocument(directory, good);
  words.insert(words.begin(), {"--json", "pale.ras"});
  const ProofResult result = directory.run(words);
  EXPECT_EQ(result.status, 0) << result.errors;
  const auto json = parseJson(result.output);
  ASSERT_TRUE(json) << result.output;
  const JsonValue& documents = (*json)["documents"];
  ASSERT_EQ(documents.items.size(), 2U);
  EXPECT_EQ(documents[0]["document"].string, "pale.ras");
  EXPECT_EQ(documents[0]["warnings"].items.size(), 1U);
  EXPECT_EQ(documents[1]["warnings"].items.size(), 0U);
}

TEST(Json, HoldsTheFiltersOwnErrors) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 20, "bars");
  job.pages[0].header.cupsBitsPerPixel = 1;
  job.pages[0].header.cupsBitsPerColor = 1;
  job.stream = testing_support::rawStream(job.pages);
  std::vector<std::string> words = writeDocument(directory, job);
  words.emplace_back("--json");
  const ProofResult result = directory.run(words);
  EXPECT_EQ(result.status, 1);
  const auto json = parseJson(result.output);
  ASSERT_TRUE(json) << result.output;
  EXPECT_EQ((*json)["documents"][0]["log_errors"][0].string,
            "Unsupported bits per pixel : 1 ! Requires 8 bits per pixel!");
}

}  // namespace
}  // namespace kestra
