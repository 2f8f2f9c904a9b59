// Tests that every program that knows a choice of the printer descriptions by name or by number
// knows all of them.
//
// A choice that was added to the descriptions alone prints, but the proof calls it unknown, the
// printer without paper takes it for a fault, and it cannot be sent by hand.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "delivery/tool/arguments.h"
#include "filter/base/job_settings.h"
#include "filter/base/settings.h"
#include "tests/driver/model.h"
#include "tests/support/ppd_text.h"
#include "tools/frame/setting_reader.h"
#include "tools/paper/stream_parser.h"

namespace kestra::driver {
namespace {

// What the filter makes of one choice of a job.
Settings settingsOf(const std::string& model, const std::string& option) {
  EXPECT_EQ(setenv("PPD", pathOf(model).c_str(), 1), 0);
  Settings settings;
  testing::internal::CaptureStderr();
  parseSettings(&settings, option.c_str());
  testing::internal::GetCapturedStderr();
  return settings;
}

class Faults : public paper::StreamListener {
 public:
  std::string words;

  void labelBegins(std::uint64_t) override {}
  void setting(const paper::Setting&) override {}
  void head(const paper::LabelHead&) override {}
  void frameBytes(const std::uint8_t*, std::size_t) override {}
  void row(bool, bool) override {}
  void labelEnds(bool) override {}
  void fault(const paper::Fault& fault) override { words += fault.expected; }
  void garbageEnds(std::uint64_t, std::uint64_t) override {}
};

class EveryPlace : public ModelCase {};

// Numbers are the same for all; a word that the filter does not know falls back to 0 silently.
TEST_P(EveryPlace, TellsTheChoicesOfDarknessApart) {
  int level = 0;
  for (const std::string& name : choicesOf(ppd_.get(), "Darkness")) {
    EXPECT_EQ(settingsOf(GetParam(), "Darkness=" + name).Darkness, level++)
        << name << ": filter/base/job_settings.cpp gives it no number of its own";
  }
}

TEST_P(EveryPlace, NamesTheDarknessOfACommand) {
  std::uint8_t level = 0;
  for (const std::string& name : choicesOf(ppd_.get(), "Darkness")) {
    const std::string words = describe(SentSetting{2, level});
    EXPECT_EQ(words.rfind("darkness " + name + ",", 0), 0U)
        << "tools/frame/setting_reader.cpp calls " << name << " \"" << words << "\"";
    ++level;
  }
}

TEST_P(EveryPlace, IsAPrinterThatTakesTheDarkness) {
  std::uint8_t level = 0;
  for (const std::string& name : choicesOf(ppd_.get(), "Darkness")) {
    Faults faults;
    paper::StreamParser parser(faults, {});
    const std::uint8_t command[] = {0x1B, 0x73, 1, 0, 0, 2, level++};
    parser.feed(command, sizeof command);
    parser.end();  // a fault is told when its garbage has come
    EXPECT_EQ(faults.words, "") << "tools/paper/stream_parser.cpp refuses " << name;
  }
}

TEST_P(EveryPlace, SendsByHandWithTheDarkness) {
  int level = 0;
  for (const std::string& name : choicesOf(ppd_.get(), "Darkness")) {
    const auto arguments =
        delivery::parseArguments({"send", "socket://h", "page.dat", "--darkness", name});
    ASSERT_TRUE(arguments) << "delivery/tool/arguments.cpp refuses " << name << ": "
                           << arguments.problem();
    EXPECT_EQ(arguments->darkness.value_or(-1), level++) << name;
  }
}

// Tests of the filter bring a description of their own, with odd choices besides the real ones.
TEST_P(EveryPlace, IsADescriptionForTestsWithTheSameWords) {
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  const std::string text = testing_support::PpdText().text();
  std::fwrite(text.data(), 1, text.size(), file);
  std::rewind(file);
  const Ppd tests(ppdOpen(file));
  std::fclose(file);
  ASSERT_NE(tests, nullptr);
  int checked = 0;
  for (const ppd_option_t* option : optionsOf(ppd_.get())) {
    const std::string keyword = option->keyword;
    if (keyword == "PageSize" || keyword == "PageRegion") continue;
    const ppd_option_t* same = ppdFindOption(tests.get(), option->keyword);
    EXPECT_NE(same, nullptr) << "tests/support/ppd_text.cpp has no " << keyword;
    for (int i = 0; same != nullptr && i < option->num_choices; ++i) {
      const char* choice = option->choices[i].choice;
      if (std::isalpha(static_cast<unsigned char>(*choice)) == 0) continue;  // numbers have rules
      EXPECT_NE(ppdFindChoice(const_cast<ppd_option_t*>(same), choice), nullptr)
          << "tests/support/ppd_text.cpp has no " << keyword << " " << choice;
      ++checked;
    }
  }
  EXPECT_GE(checked, 24);  // two resolutions are numbers; 3 papers, 10 halftones, 3 heats, ...
}

INSTANTIATE_TEST_SUITE_P(Ppd, EveryPlace, testing::ValuesIn(kModels),
                         [](const auto& model) { return shortName(model.param); });

}  // namespace
}  // namespace kestra::driver
