// Tests of the languages in the printer descriptions.
//
// A text that was forgotten shows up in English in the middle of a German dialog, and one that is
// too long is cut in the middle of a letter; nobody who reads the sources notices.
#include <cups/ppd.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/driver/model.h"

namespace kestra::driver {
namespace {

constexpr const char* kLanguages[] = {"de", "fr", "es", "ja", "zh_CN"};

// libcups keeps 80 bytes of a text.
constexpr std::size_t kLongestText = 80;

// What a text is for ("PaperType", "LabelGaps"; groups and options: "Translation", its name), and
// the text.
using Texts = std::map<std::pair<std::string, std::string>, std::string>;

// Lines of the form `*de.PaperType LabelGaps/Etiketten mit Lücken: ""`.
Texts translationsOf(const std::string& model, const std::string& language) {
  const std::string start = "*" + language + ".";
  Texts texts;
  std::ifstream in(pathOf(model));
  for (std::string line; std::getline(in, line);) {
    if (line.rfind(start, 0) != 0) continue;
    const std::size_t blank = line.find(' ');
    const std::size_t slash = line.find('/', blank);
    const std::size_t colon = line.find(':', slash);
    if (colon == std::string::npos || line.substr(colon) != ": \"\"") {
      ADD_FAILURE() << model << ": not a translation: " << line;
      continue;
    }
    const std::string keyword = line.substr(start.size(), blank - start.size());
    texts[{keyword, line.substr(blank + 1, slash - blank - 1)}] =
        line.substr(slash + 1, colon - slash - 1);
  }
  return texts;
}

// Every text of the description that a print dialog shows, in the description's own language.
// PageRegion is the manual feed's twin of PageSize and is shown nowhere; the choice Custom and the
// name of the General group are libcups's own.
Texts shownTexts(ppd_file_t* ppd) {
  Texts texts;
  for (int group = 0; group < ppd->num_groups; ++group) {
    const ppd_group_t& g = ppd->groups[group];
    if (std::string(g.name) != "General") texts[{"Translation", g.name}] = g.text;
    for (int i = 0; i < g.num_options; ++i) {
      const ppd_option_t& option = g.options[i];
      if (std::string(option.keyword) == "PageRegion") continue;
      texts[{"Translation", option.keyword}] = option.text;
      for (int c = 0; c < option.num_choices; ++c) {
        const std::string choice = option.choices[c].choice;
        if (choice != "Custom") texts[{option.keyword, choice}] = option.choices[c].text;
      }
    }
  }
  texts[{"Translation", "ModelName"}] = ppd->modelname;
  texts[{"Translation", "NickName"}] = ppd->nickname;
  texts[{"Translation", "ShortNickName"}] = ppd->shortnickname;
  texts[{"Translation", "Manufacturer"}] = ppd->manufacturer;
  return texts;
}

// Texts that are the same in every language: numbers alone or with a unit that is written so
// everywhere, the name of a paper size, the maker's name.
bool mayStayAsItIs(const std::string& text) {
  static const std::regex same("-?[0-9]+( dpi| mm)?|A4|Kestra");
  return std::regex_match(text, same);
}

// Whether the bytes are letters of UTF-8: a first byte says how many more follow.
bool isUtf8(const std::string& text) {
  std::size_t following = 0;
  for (const char c : text) {
    const unsigned byte = static_cast<unsigned char>(c);
    if (following > 0) {
      if ((byte & 0xC0U) != 0x80U) return false;
      --following;
    } else if (byte >= 0xF0U) {
      following = 3;
    } else if (byte >= 0xE0U) {
      following = 2;
    } else if (byte >= 0xC0U) {
      following = 1;
    } else if (byte >= 0x80U || byte < 0x20U) {
      return false;
    }
  }
  return following == 0;
}

// The description as a program sees it that speaks the language. A thread of its own, as libcups
// remembers the language of each thread.
Texts localizedTexts(const std::string& model, const std::string& language) {
  const std::string locale = language + (language.size() > 2 ? "" : "_XX") + ".UTF-8";
  for (const char* name : {"LANG", "LC_ALL", "LC_MESSAGES"}) setenv(name, locale.c_str(), 1);
  Texts texts;
  std::thread([&] {
    const Ppd ppd = openModel(model);
    if (ppd != nullptr && ppdLocalize(ppd.get()) == 0) texts = shownTexts(ppd.get());
  }).join();
  for (const char* name : {"LANG", "LC_ALL", "LC_MESSAGES"}) unsetenv(name);
  return texts;
}

class Translations : public testing::TestWithParam<std::tuple<const char*, const char*>> {
 protected:
  void SetUp() override {
    model_ = std::get<0>(GetParam());
    language_ = std::get<1>(GetParam());
    const Ppd ppd = openModel(model_);
    ASSERT_NE(ppd, nullptr);
    english_ = shownTexts(ppd.get());
    ASSERT_GE(english_.size(), 70U);
    translated_ = translationsOf(model_, language_);
  }
  std::string model_;
  std::string language_;
  Texts english_;
  Texts translated_;
};

TEST_P(Translations, HaveEveryTextThatADialogShows) {
  for (const auto& [what, text] : english_) {
    const auto found = translated_.find(what);
    if (found == translated_.end()) {
      ADD_FAILURE() << "driver/po/" << language_ << ".po has no " << what.first << " "
                    << what.second << ": \"" << text << "\"";
    } else if (!mayStayAsItIs(text)) {
      EXPECT_NE(found->second, text) << what.first << " " << what.second;
    }
  }
}

TEST_P(Translations, BelongToAChoiceThatExists) {
  for (const auto& [what, text] : translated_) {
    EXPECT_EQ(english_.count(what), 1U) << what.first << " " << what.second << ": " << text;
  }
}

TEST_P(Translations, AreWholeReadableAndFinished) {
  for (const auto& [what, text] : translated_) {
    EXPECT_FALSE(text.empty()) << what.first << " " << what.second;
    EXPECT_EQ(text.find("TRANSLATE"), std::string::npos) << text;
    EXPECT_LE(text.size(), kLongestText) << text;
    EXPECT_TRUE(isUtf8(text)) << text;
  }
}

TEST_P(Translations, ReachAProgramThatSpeaksTheLanguage) {
  const Texts seen = localizedTexts(model_, language_);
  for (const auto& [what, text] : seen) {
    // Names of the printer are read without translation.
    if (what.second == "Manufacturer" || what.second.find("Name") != std::string::npos) continue;
    EXPECT_EQ(text, translated_[what]) << what.first << " " << what.second;
  }
  EXPECT_EQ(seen.size(), english_.size());
}

// Two choices that read alike cannot be told apart.
TEST_P(Translations, TellTheChoicesOfAnOptionApart) {
  std::map<std::pair<std::string, std::string>, std::string> choiceOf;
  for (const auto& [what, text] : translated_) {
    if (what.first == "Translation") continue;
    const auto [first, isNew] = choiceOf.insert({{what.first, text}, what.second});
    EXPECT_TRUE(isNew) << what.first << ": " << first->second << " and " << what.second
                       << " are both \"" << text << "\"";
  }
}

INSTANTIATE_TEST_SUITE_P(
    Ppd, Translations, testing::Combine(testing::ValuesIn(kModels), testing::ValuesIn(kLanguages)),
    [](const auto& pair) {
      return shortName(std::get<0>(pair.param)) + "_" + std::get<1>(pair.param);
    });

TEST(TranslationsOf, ListTheSameLanguagesInBothDescriptions) {
  for (const char* model : kModels) {
    const Ppd ppd = openModel(model);
    ASSERT_NE(ppd, nullptr);
    const ppd_attr_t* languages = ppdFindAttr(ppd.get(), "cupsLanguages", nullptr);
    ASSERT_NE(languages, nullptr) << model;
    EXPECT_STREQ(languages->value, "en de fr es ja zh_CN") << model;
  }
}

}  // namespace
}  // namespace kestra::driver
