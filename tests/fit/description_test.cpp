// What is read from printer descriptions, and from files that are none.
#include "tools/fit/description.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "tests/support/files.h"

namespace kestra {

class Description : public testing::Test {
 protected:
  const char* of(const std::string& text) const {
    std::ofstream(path_) << text;
    return path_.c_str();
  }
  const testing_support::TemporaryFolder folder_;
  const std::string path_ = folder_.path() + "/description.ppd";
};

TEST_F(Description, GivesTheHeadOfTheFirstLineThatStatesIt) {
  EXPECT_DOUBLE_EQ(headPoints(of("*% *MaxMediaWidth: \"1\"\n*MaxMediaWidth: \"295.5\"\n"
                                 "*MaxMediaWidth: \"9\"\n")),
                   295.5);
  EXPECT_DOUBLE_EQ(headPoints(of("*MaxMediaWidth:288\r\n")), 288);
}

TEST_F(Description, GivesNoHeadWithoutALineOrAFile) {
  EXPECT_EQ(headPoints(of("*MaxMediaHeight: \"5\"\n")), 0);
  EXPECT_EQ(headPoints(of("*MaxMediaWidth:\n")), 0);
  EXPECT_EQ(headPoints(of("*MaxMediaWidth: \"wide\"\n")), 0);
  EXPECT_EQ(headPoints(nullptr), 0);
  EXPECT_EQ(headPoints("/nowhere/at/all.ppd"), 0);
}

TEST_F(Description, TellsWhetherItNamesTheStage) {
  EXPECT_TRUE(fitsPages(of("*cupsPreFilter: \"application/vnd.cups-raster 0 kestrafit\"\n")));
  EXPECT_FALSE(fitsPages(of("*cupsPreFilter: \"application/pdf 0 other\"\n")));
  EXPECT_FALSE(fitsPages(of("*% *cupsPreFilter: \"application/vnd.cups-raster 0 kestrafit\"\n")));
  EXPECT_FALSE(fitsPages(of("")));
  EXPECT_FALSE(fitsPages(nullptr));
}

}  // namespace kestra
