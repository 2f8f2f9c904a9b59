// Tries the label at every place of the page, upright and lying.
//
// Where its edge meets no ink, what lies inside is whole. Among such places one that fills the
// label is better than one that does not, then one with white around it, then the fuller one.
#include "tools/crop/label_places.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <tuple>
#include <utility>

namespace kestra::crop {
namespace {

/// Points by which a drawing may stick out of the label on each side: shops draw borders around
/// labels, and labels of 105 x 148 mm for paper of 4 x 6 inch.
constexpr std::array<int, 2> kSlacks = {6, 2};
constexpr double kFull = 0.8;  // of width and of height
constexpr int kApart = 3;  // points of white that the bars of a code have not between them, 1 mm
constexpr int kWhite = 9;  // points of white around a drawing that set it apart, 3 mm

bool crossesNothing(const PageInk& page, const Box& box) {
  const Box ring = box.grown(1);
  return page.count({ring.left, ring.top, ring.right, box.top}) == 0 &&
         page.count({ring.left, box.bottom, ring.right, ring.bottom}) == 0 &&
         page.count({ring.left, ring.top, box.left, ring.bottom}) == 0 &&
         page.count({box.right, ring.top, ring.right, ring.bottom}) == 0;
}

/// White around a drawing, in points, as far as it matters.
int whiteAround(const PageInk& page, const Box& ink) {
  const std::int64_t inside = page.count(ink);
  int white = 0;
  while (white < kWhite && page.count(ink.grown(white + 1)) == inside) ++white;
  return white;
}

auto asTuple(const Box& box) { return std::tuple(box.top, box.left, box.bottom, box.right); }

/// Everything that a label of `width` x `height` points can hold whole.
std::vector<Box> drawings(const PageInk& page, int width, int height) {
  std::vector<Box> found;
  for (const int slack : kSlacks) {
    for (int y = -height / 2; y < page.height() - height / 2; ++y) {
      for (int x = -width / 2; x < page.width() - width / 2; ++x) {
        const Box box = Box{x, y, x + width, y + height}.grown(slack);
        if (!crossesNothing(page, box)) continue;
        const Box ink = page.around(box);
        if (ink.width() > 0 && (found.empty() || !(found.back() == ink))) found.push_back(ink);
      }
    }
  }
  std::sort(found.begin(), found.end(),
            [](const Box& a, const Box& b) { return asTuple(a) < asTuple(b); });
  found.erase(std::unique(found.begin(), found.end()), found.end());
  return found;
}

struct Candidate {
  Place place;
  int white = 0;
  [[nodiscard]] auto rank() const {
    return std::tuple(place.sure, place.sure ? white : std::min(white, kApart),
                      place.across * place.along);
  }
};

void addCandidates(const PageInk& page, LabelSize label, bool turned,
                   std::vector<Candidate>& candidates) {
  const double width = turned ? label.height : label.width;
  const double height = turned ? label.width : label.height;
  for (const Box& ink : drawings(page, static_cast<int>(std::lround(width)),
                                 static_cast<int>(std::lround(height)))) {
    Candidate candidate;
    Place& place = candidate.place;
    place.ink = ink;
    place.turned = turned;
    place.across = ink.width() / width;
    place.along = ink.height() / height;
    if (turned) std::swap(place.across, place.along);
    candidate.white = whiteAround(page, ink);
    place.sure = place.across >= kFull && place.along >= kFull && candidate.white >= kApart;
    candidates.push_back(candidate);
  }
}

bool overlap(const Box& a, const Box& b) {
  return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

}  // namespace

int longestLine(LabelSize label) {
  return static_cast<int>(std::lround(std::max(label.width, label.height))) + 2 * kSlacks[0];
}

std::vector<Place> labelPlaces(const PageInk& page, LabelSize label) {
  std::vector<Candidate> candidates;
  addCandidates(page, label, false, candidates);
  if (std::lround(label.width) != std::lround(label.height)) {
    addCandidates(page, label, true, candidates);
  }
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const Candidate& a, const Candidate& b) { return a.rank() > b.rank(); });
  std::vector<Place> places;
  for (const Candidate& candidate : candidates) {
    const Place& place = candidate.place;
    if (!places.empty() && !(place.sure && places.front().sure)) break;
    const bool taken = std::any_of(places.begin(), places.end(), [&place](const Place& other) {
      return overlap(place.ink, other.ink);
    });
    if (!taken) places.push_back(place);
  }
  std::sort(places.begin(), places.end(),
            [](const Place& a, const Place& b) { return asTuple(a.ink) < asTuple(b.ink); });
  return places;
}

}  // namespace kestra::crop
