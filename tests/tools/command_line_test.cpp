// Tests of the parser of command lines with a table of its own.
//
// What the programs do with a line is tested with the programs; here are the forms of words.
#include "tools/base/command_line.h"

#include <gtest/gtest.h>

namespace kestra {
namespace {

using Words = std::vector<std::string>;

/// A tool with every kind of option, and what a line left in it.
struct Tool {
  bool all = false;
  bool counted = true;
  std::string name;
  std::string queue;
  std::string model;
  Words taken;

  Result<void> take(const Words& words) {
    CommandLine line = table();
    line.takeWord = [this](const std::string& word) -> Result<void> {
      if (word == "bad") return Problem{"no word is bad"};
      taken.push_back(word);
      return {};
    };
    return takeWords(words, line);
  }

  Result<void> takeOptionsOnly(const Words& words) { return takeWords(words, table()); }

 private:
  CommandLine table() {
    return {{{"--all", &all}, {"-a", &all}, {"--uncounted", &counted, false}, {"--name", &all}},
            {{"--name", textInto(name, "a name")},
             {"-q", textInto(queue, "a queue")},
             {"--model", modelInto(model)}}};
  }
};

TEST(CommandLine, SwitchesStoreTheirValue) {
  Tool tool;
  EXPECT_TRUE(tool.take({"-a", "--uncounted"}));
  EXPECT_TRUE(tool.all);
  EXPECT_FALSE(tool.counted);
}

TEST(CommandLine, ValuesStandBehindTheNameOrInTheNextWord) {
  for (const Words& words :
       {Words{"--model", "label", "-q", "desk", "file"}, Words{"--model=label", "-qdesk", "file"},
        Words{"file", "-q", "desk", "--model=label"}}) {
    Tool tool;
    EXPECT_TRUE(tool.take(words));
    EXPECT_EQ(tool.model, "label");
    EXPECT_EQ(tool.queue, "desk");
    EXPECT_EQ(tool.taken, Words{"file"});
  }
}

TEST(CommandLine, ValuesMayLookLikeOptions) {
  Tool tool;
  EXPECT_TRUE(tool.take({"-q", "--all", "-q=x"}));
  EXPECT_FALSE(tool.all);
  EXPECT_EQ(tool.queue, "=x");
}

TEST(CommandLine, ASwitchAndAnOptionMayShareAName) {
  Tool tool;
  EXPECT_TRUE(tool.take({"--name", "word"}));
  EXPECT_TRUE(tool.all);
  EXPECT_EQ(tool.name, "");
  EXPECT_EQ(tool.taken, Words{"word"});
  EXPECT_TRUE(tool.take({"--name=this"}));
  EXPECT_EQ(tool.name, "this");
}

TEST(CommandLine, SaysWhatAnOptionWants) {
  EXPECT_EQ(Tool().take({"--name="}).problem(), "--name wants a name");
  EXPECT_EQ(Tool().take({"-q"}).problem(), "-q wants a queue");
  EXPECT_EQ(Tool().take({"--model", "big"}).problem(),
            "--model wants label (4-inch label printer) or stencil (A4 stencil printer), "
            "not \"big\"");
  EXPECT_EQ(Tool().take({"--model"}).problem(),
            "--model wants label (4-inch label printer) or stencil (A4 stencil printer)");
}

TEST(CommandLine, KnowsNeitherShortenedNorJoinedNames) {
  for (const char* word : {"--al", "--all=yes", "-aa", "--model-name", "-x", "---"}) {
    EXPECT_EQ(Tool().take({word}).problem(), std::string("unknown option ") + word);
  }
}

TEST(CommandLine, StopsAtTheFirstWordThatMakesNoSense) {
  Tool tool;
  EXPECT_EQ(tool.take({"first", "bad", "-x", "last"}).problem(), "no word is bad");
  EXPECT_EQ(tool.taken, Words{"first"});
}

TEST(CommandLine, HoldsWordsOnlyBehindTwoDashes) {
  Tool tool;
  EXPECT_TRUE(tool.take({"-", "", "-a", "--", "-a", "--model", "--"}));
  EXPECT_EQ(tool.taken, (Words{"-", "", "-a", "--model", "--"}));
  EXPECT_EQ(tool.model, "");
}

TEST(CommandLine, OfAToolThatTakesNoDocumentRefusesWords) {
  Tool tool;
  EXPECT_TRUE(tool.takeOptionsOnly({"-a", "-q", "desk"}));
  EXPECT_EQ(tool.queue, "desk");
  EXPECT_EQ(tool.takeOptionsOnly({"a.pdf"}).problem(),
            "no document is wanted here, and \"a.pdf\" is none of the options");
  EXPECT_EQ(tool.takeOptionsOnly({""}).problem(), "an empty word");
  EXPECT_EQ(tool.takeOptionsOnly({"-"}).problem(), "unknown option -");
  EXPECT_EQ(tool.takeOptionsOnly({"--"}).problem(), "unknown option --");
}

}  // namespace
}  // namespace kestra
