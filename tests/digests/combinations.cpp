// Draws the jobs from short lists of choices with a fixed sequence of numbers.
// Why: the halftone and its switches run through all their combinations, everything else is mixed
// in so that no two of them always meet.
#include "tests/digests/combinations.h"

#include <cstddef>

#include "tests/support/fixed_random.h"

namespace kestra::digests {

namespace {

namespace ts = testing_support;

using blackbox::JobCase;

class Sequence {
 public:
  std::size_t below(std::size_t count) { return random_.word() % count; }
  template <typename T, std::size_t kCount>
  const T& pick(const T (&list)[kCount]) {
    return list[below(kCount)];
  }

 private:
  ts::FixedRandom random_{2026};
};

struct Size {
  unsigned width;
  unsigned height;
};

constexpr Size kSmall[] = {{1, 1},  {1, 40},  {40, 1},  {2, 3},   {3, 7},   {4, 8},
                           {5, 9},  {7, 16},  {8, 17},  {9, 31},  {15, 15}, {16, 33},
                           {31, 2}, {33, 12}, {64, 48}, {53, 20}, {97, 13}, {120, 24}};
constexpr Size kLarge[] = {{330, 20}, {400, 17}, {401, 30}, {700, 12},
                           {799, 24}, {811, 10}, {812, 40}};
constexpr unsigned kGaps[] = {0, 0, 0, 1, 2, 3, 4, 29};
constexpr unsigned kDpi[] = {203, 203, 300};
constexpr const char* kPictures[] = {"gradient", "photo", "bars",  "text",
                                     "noise",    "runs",  "blank", "solid"};
constexpr int kBrightness[] = {0, 0, 0, -100, -20, -1, 1, 20, 100};
constexpr const char* kPaper[] = {"LabelGaps", "LabelMark", "Continue"};
// Points; the small ones are narrower than most pages.
constexpr const char* kHead[] = {"288", "288", "288", "30", "57", "120", "0", "595"};
constexpr const char* kCounter[] = {"", "", "07 00", "28 23", "FF FF"};

void addPage(Combination& one, Sequence& sequence, const Size& size) {
  const unsigned line = size.width + sequence.pick(kGaps);
  const std::string picture = sequence.pick(kPictures);
  const unsigned dpi = sequence.pick(kDpi);
  const bool inverted = picture == "runs" && sequence.below(2) == 1;
  one.job.addPage(size.width, size.height, picture, line, dpi);
  if (inverted) {
    for (auto& pixel : one.job.pages.back().pixels) pixel = static_cast<std::uint8_t>(255 - pixel);
  }
  one.name += " " + std::string(inverted ? "inverted-" : "") + picture + "-" +
              std::to_string(size.width) + "x" + std::to_string(size.height) + "-line" +
              std::to_string(line) + "-" + std::to_string(dpi) + "dpi";
}

void addBadPage(Combination& one) {
  one.job.pages.push_back({ts::makeHeader(0, 4, 16), ts::noise(16, 4, 1)});
  one.name += " no-columns";
}

// index: 0..159 choose halftone, mirror, negative and barcode choice.
Combination draw(std::size_t index, Sequence& sequence) {
  Combination one;
  const int halftone = static_cast<int>(index % 10);
  const bool mirror = index / 10 % 2 != 0;
  const bool negative = index / 20 % 2 != 0;
  const int barcode = static_cast<int>(index / 40 % 4);
  one.job.halftone(halftone);
  one.name = blackbox::halftoneName(halftone);
  if (mirror) one.job.mirror();
  if (mirror) one.name += " mirror";
  if (negative) one.job.negative();
  if (negative) one.name += " negative";
  one.job.barcode(barcode);
  one.name += " barcode" + std::to_string(barcode);

  const int brightness = sequence.pick(kBrightness);
  one.job.brightness(brightness);
  one.name += " brightness" + std::to_string(brightness);
  const std::string paper = sequence.pick(kPaper);
  one.job.choose("PaperType", paper);
  one.job.settings.paperType = paper;
  one.name += " " + paper;
  const std::string head = sequence.pick(kHead);
  one.job.ppd.setMaxMediaWidth(head);
  one.job.settings.maxMediaPoints = std::stod(head);
  one.name += " head" + head + "pt";
  const std::string counter = sequence.pick(kCounter);
  if (!counter.empty()) {
    one.job.marker = blackbox::hex(counter);
    one.name += " counter " + counter;
  }
  one.name += " |";
  return one;
}

// White stretches (two of them long, one for the last pixel to stand in), crossed by lines of one
// to four rows: dashes and both barcode choices act on it. Its one grey pixel makes the stencil
// halftones hand it on as it is.
ts::Pixels stretches(unsigned width, unsigned height) {
  ts::Pixels pixels;
  for (unsigned y = 0; y < height; ++y) {
    const bool line = y % 12 >= 8 && y % 12 <= 8 + y / 12 % 4;
    for (unsigned x = 0; x < width; ++x) {
      const bool stretch = x < 330 || (x >= 400 && x < 450) || x >= width - 20;
      pixels.push_back(stretch && (!line || x >= width - 20) ? 255 : 0);
    }
  }
  pixels.back() = 100;
  return pixels;
}

}  // namespace

std::vector<Combination> allCombinations() {
  std::vector<Combination> all;
  Sequence sequence;
  // Twice all switches with a few pages each, the second time with a page as wide as barcodes need.
  for (std::size_t index = 0; index < 320; ++index) {
    Combination one = draw(index % 160, sequence);
    if (index >= 160) addPage(one, sequence, sequence.pick(kLarge));
    const std::size_t more = 1 + sequence.below(3);
    for (std::size_t i = 0; i < more; ++i) {
      if (sequence.below(8) == 0) addBadPage(one);
      addPage(one, sequence, sequence.pick(kSmall));
    }
    if (sequence.below(8) == 0) addBadPage(one);
    one.job.stream = ts::rawStream(one.job.pages);
    all.push_back(one);
  }
  // Pages as wide as the head of a 300 dpi printer, long enough for every rule.
  for (int halftone = 0; halftone < 10; ++halftone) {
    for (const char* picture : {"photo", "text"}) {
      Combination one;
      one.job.halftone(halftone);
      one.name = blackbox::halftoneName(halftone) + " | " + picture + "-1200x64-line1200-300dpi";
      one.job.addPage(1200, 64, picture, 1200, 300);
      one.job.stream = ts::rawStream(one.job.pages);
      all.push_back(one);
    }
  }
  // Pages on which every barcode rule changes dots.
  for (const int halftone : {8, 9}) {
    for (const int barcode : {1, 2}) {
      for (const unsigned width : {897U, 900U}) {
        Combination one;
        one.job.halftone(halftone);
        one.job.barcode(barcode);
        one.job.stream = ts::rawStream({{ts::makeHeader(width, 60, width), stretches(width, 60)}});
        one.name = blackbox::halftoneName(halftone) + " barcode" + std::to_string(barcode) +
                   " | stretches-" + std::to_string(width) + "x60";
        all.push_back(one);
      }
    }
  }
  return all;
}

}  // namespace kestra::digests
