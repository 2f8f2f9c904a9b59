// Tests of the combinations that a print dialog warns of.
//
// A negative of a classic halftone prints solid, and the barcode option does nothing to one: the
// user should hear of it before the paper is spent, but gets what was asked for.
#include <cups/cups.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <string>

#include "filter/base/job_settings.h"
#include "filter/base/settings.h"
#include "tests/driver/model.h"

namespace kestra::driver {
namespace {

struct Wish {
  std::string halftone;
  std::string negative;
  std::string density;

  std::string options() const {
    return "HalftoneType=" + halftone + " NegativeImage=" + negative +
           " VBarcodeDensity=" + density;
  }
};

bool isClassic(const std::string& halftone) {
  for (const char* name : kClassicHalftones) {
    if (halftone == name) return true;
  }
  return false;
}

// The rule of the two warnings, as the descriptions should have it.
bool cannotWork(const Wish& wish) {
  return isClassic(wish.halftone) && (wish.negative == "True" || wish.density != "0");
}

// The options of a job as libcups passes them around; frees them.
class JobOptions {
 public:
  explicit JobOptions(const std::string& text) {
    count_ = cupsParseOptions(text.c_str(), 0, &options_);
  }
  ~JobOptions() { cupsFreeOptions(count_, options_); }
  JobOptions(const JobOptions&) = delete;
  JobOptions& operator=(const JobOptions&) = delete;

  bool mark(ppd_file_t* ppd) const { return cupsMarkOptions(ppd, count_, options_) != 0; }
  bool resolve(ppd_file_t* ppd) {
    return cupsResolveConflicts(ppd, nullptr, nullptr, &count_, &options_) != 0;
  }
  std::string value(const char* name) const {
    const char* text = cupsGetOption(name, count_, options_);
    return text == nullptr ? "" : text;
  }

 private:
  int count_ = 0;
  cups_option_t* options_ = nullptr;  // owned
};

std::string marked(ppd_file_t* ppd, const char* keyword) {
  const ppd_choice_t* choice = ppdFindMarkedChoice(ppd, keyword);
  return choice == nullptr ? "(none)" : choice->choice;
}

class Constraints : public ModelCase {};

TEST_P(Constraints, FindNothingWrongWithTheDefaults) { EXPECT_EQ(ppdConflicts(ppd_.get()), 0); }

// 10 halftones, negative or not, three densities: 60 jobs, of which 8 x 5 cannot work.
TEST_P(Constraints, WarnOfWhatCannotWorkAndOfNothingElse) {
  int warned = 0;
  for (const std::string& halftone : choicesOf(ppd_.get(), "HalftoneType")) {
    for (const char* negative : {"False", "True"}) {
      for (const char* density : {"0", "1", "2"}) {
        const Wish wish{halftone, negative, density};
        ppdMarkDefaults(ppd_.get());
        const bool conflicts = JobOptions(wish.options()).mark(ppd_.get());
        EXPECT_EQ(conflicts, cannotWork(wish)) << wish.options();
        EXPECT_EQ(ppdConflicts(ppd_.get()) > 0, conflicts) << wish.options();
        warned += conflicts ? 1 : 0;
      }
    }
  }
  EXPECT_EQ(warned, 40);
}

// Every other choice stands alone: 203 dpi or 300, with or without gaps, nothing warns.
TEST_P(Constraints, WarnOfNoSingleOtherChoice) {
  int tried = 0;
  for (const ppd_option_t* option : optionsOf(ppd_.get())) {
    const std::string keyword = option->keyword;
    if (keyword == "HalftoneType" || keyword == "NegativeImage" || keyword == "VBarcodeDensity") {
      continue;
    }
    for (int i = 0; i < option->num_choices; ++i) {
      ppdMarkDefaults(ppd_.get());
      ppdMarkOption(ppd_.get(), option->keyword, option->choices[i].choice);
      EXPECT_EQ(ppdConflicts(ppd_.get()), 0) << keyword << " " << option->choices[i].choice;
      ++tried;
    }
  }
  EXPECT_GE(tried, 50);
}

TEST_P(Constraints, LeaveAJobAsItWasAskedFor) {
  for (const char* halftone : kClassicHalftones) {
    const Wish wish{halftone, "True", "2"};
    ppdMarkDefaults(ppd_.get());
    EXPECT_TRUE(JobOptions(wish.options()).mark(ppd_.get()));
    EXPECT_EQ(marked(ppd_.get(), "HalftoneType"), halftone);
    EXPECT_EQ(marked(ppd_.get(), "NegativeImage"), "True");
    EXPECT_EQ(marked(ppd_.get(), "VBarcodeDensity"), "2");
  }
}

TEST_P(Constraints, ReachTheFilterAsTheyWereAskedFor) {
  ASSERT_EQ(setenv("PPD", pathOf(GetParam()).c_str(), 1), 0);
  int number = 0;
  for (const char* halftone : kClassicHalftones) {
    Settings settings;
    testing::internal::CaptureStderr();
    parseSettings(&settings, Wish{halftone, "True", "1"}.options().c_str());
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(static_cast<int>(settings.halftoneType), number++) << halftone;
    EXPECT_EQ(settings.NegativeImage, 1) << halftone;
    EXPECT_EQ(settings.VBarcodeOpt, 1) << halftone;
  }
}

// What a dialog that mends conflicts by itself offers: the wish stays, the halftone makes room.
TEST_P(Constraints, AreMendedByAStencilHalftone) {
  for (const Wish& wish : {Wish{"Ordered", "True", "0"}, Wish{"None", "False", "1"}}) {
    ppdMarkDefaults(ppd_.get());
    JobOptions options(wish.options());
    options.mark(ppd_.get());
    EXPECT_TRUE(options.resolve(ppd_.get())) << wish.options();
    EXPECT_EQ(options.value("HalftoneType"), "Tattoo") << wish.options();
    EXPECT_EQ(options.value("NegativeImage"), wish.negative) << wish.options();
    EXPECT_EQ(options.value("VBarcodeDensity"), wish.density) << wish.options();
  }
}

INSTANTIATE_TEST_SUITE_P(Ppd, Constraints, testing::ValuesIn(kModels),
                         [](const auto& model) { return shortName(model.param); });

}  // namespace
}  // namespace kestra::driver
