// A label of 4 x 6 inch, 288 x 432 points, on pages as shops send them.
// Why: a label that is cut, or the wrong part of the page, is a parcel that comes back.
#include "tools/crop/label_places.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/tools/page_of_boxes.h"

namespace kestra::crop {
namespace {

constexpr LabelSize kLabel = {288, 432};

std::vector<Place> placesOn(const PageOfBoxes& page, LabelSize label = kLabel) {
  return labelPlaces({page.page(), longestLine(label)}, label);
}

/// The only place that there is; an empty one and a failure where there are others.
Place onlyPlaceOn(const PageOfBoxes& page, LabelSize label = kLabel) {
  const std::vector<Place> places = placesOn(page, label);
  EXPECT_EQ(places.size(), 1U);
  return places.size() == 1 ? places.front() : Place();
}

TEST(LabelPlaces, AreNoneOnABlankPage) { EXPECT_TRUE(placesOn(PageOfBoxes()).empty()); }

TEST(LabelPlaces, AreNoneWhereAllThatIsDrawnIsLarger) {
  EXPECT_TRUE(placesOn(PageOfBoxes().fill({20, 20, 570, 800})).empty());
}

TEST(LabelPlaces, AreABorderOfTheLabelsSizeInTheCorner) {
  const Place place = onlyPlaceOn(PageOfBoxes().frame({0, 0, 288, 432}));
  EXPECT_EQ(place.ink, (Box{0, 0, 288, 432}));
  EXPECT_TRUE(place.sure);
  EXPECT_FALSE(place.turned);
  EXPECT_DOUBLE_EQ(place.across, 1);
  EXPECT_DOUBLE_EQ(place.along, 1);
}

TEST(LabelPlaces, HoldWhatLiesBesideNothingElseThoughItHasNoBorder) {
  // Address, picture and code, 260 x 395 in all, with more white between than around.
  const Place place = onlyPlaceOn(PageOfBoxes()
                                      .fill({120, 150, 300, 190})
                                      .fill({200, 300, 380, 420})
                                      .fill({130, 500, 380, 545})
                                      // 12 points below, the shop's own words
                                      .fill({40, 557, 560, 570})
                                      .fill({40, 580, 560, 593}));
  EXPECT_EQ(place.ink, (Box{120, 150, 380, 545}));
  EXPECT_TRUE(place.sure);
}

TEST(LabelPlaces, LieOnTheirSide) {
  const Place place = onlyPlaceOn(PageOfBoxes().frame({80, 60, 505, 340}));
  EXPECT_EQ(place.ink, (Box{80, 60, 505, 340}));
  EXPECT_TRUE(place.turned);
  EXPECT_DOUBLE_EQ(place.across, 280.0 / 288);
  EXPECT_DOUBLE_EQ(place.along, 425.0 / 432);
}

TEST(LabelPlaces, KeepClearOfFoldLinesAndCuttingLines) {
  const Place place = onlyPlaceOn(PageOfBoxes()
                                      .frame({100, 100, 386, 530})
                                      .levelDashes(97, 0, 595)
                                      .levelDashes(533, 0, 595)
                                      .uprightDashes(97, 0, 842)
                                      .uprightDashes(389, 0, 842));
  EXPECT_EQ(place.ink, (Box{100, 100, 386, 530}));
  EXPECT_TRUE(place.sure);
}

TEST(LabelPlaces, AreTwoWhereTwoLabelsFillThem) {
  const std::vector<Place> places =
      placesOn(PageOfBoxes().frame({80, 460, 510, 746}).frame({80, 60, 510, 346}));
  ASSERT_EQ(places.size(), 2U);
  EXPECT_EQ(places[0].ink, (Box{80, 60, 510, 346}));
  EXPECT_EQ(places[1].ink, (Box{80, 460, 510, 746}));
}

TEST(LabelPlaces, PreferAFullLabelToADarkerAdvertisement) {
  const Place place =
      onlyPlaceOn(PageOfBoxes().frame({20, 20, 306, 450}).fill({330, 40, 560, 300}));
  EXPECT_EQ(place.ink, (Box{20, 20, 306, 450}));
}

TEST(LabelPlaces, AreNotSureWhereTheLabelIsHalfEmpty) {
  const Place place = onlyPlaceOn(PageOfBoxes().fill({100, 100, 250, 300}));
  EXPECT_EQ(place.ink, (Box{100, 100, 250, 300}));
  EXPECT_FALSE(place.sure);
}

TEST(LabelPlaces, MayStickOutOfTheLabelByTwoMillimetresOnEachSide) {
  // 105 mm are 297.6 points: a label for A6 paper.
  const Place place = onlyPlaceOn(PageOfBoxes().frame({50, 50, 348, 470}));
  EXPECT_EQ(place.ink, (Box{50, 50, 348, 470}));
  EXPECT_DOUBLE_EQ(place.across, 298.0 / 288);
  // 288 + 12 is the most.
  EXPECT_TRUE(placesOn(PageOfBoxes().frame({50, 50, 351, 470})).empty());
}

TEST(LabelPlaces, OfASquareLabelAreCountedOnce) {
  EXPECT_FALSE(onlyPlaceOn(PageOfBoxes().frame({50, 50, 330, 330}), {288, 288}).turned);
}

}  // namespace
}  // namespace kestra::crop
