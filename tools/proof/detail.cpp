// Turns millimetres into dots and cuts rows.
#include "tools/proof/detail.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace kestra::proof {
namespace {

constexpr double kMmPerInch = 25.4;
constexpr double kMiddleMm = 50;
constexpr double kLargeMm = 80;
constexpr double kMostMm = 1e5;

std::size_t dots(double mm, unsigned dpi) {
  return static_cast<std::size_t>(std::lround(mm * dpi / kMmPerInch));
}

double mm(std::size_t dots, unsigned dpi) { return static_cast<double>(dots) * kMmPerInch / dpi; }

}  // namespace

std::optional<Detail> parseDetail(const std::string& text) {
  Detail detail;
  detail.whole = text == "all";
  if (detail.whole) return detail;
  std::array<double, 4> place = {};
  const char* at = text.c_str();
  for (std::size_t i = 0; i < place.size(); ++i) {
    if (i > 0 && *at++ != ',') return std::nullopt;
    if (*at != '.' && (*at < '0' || *at > '9')) return std::nullopt;  // no sign, no blank
    char* end = nullptr;
    place[i] = std::strtod(at, &end);
    if (end == at || !(place[i] <= kMostMm)) return std::nullopt;
    at = end;
  }
  if (*at != '\0' || place[2] <= 0 || place[3] <= 0) return std::nullopt;
  detail.place = place;
  return detail;
}

std::optional<DotRectangle> detailOf(const Detail& detail, std::size_t width, std::size_t height,
                                     const std::array<unsigned, 2>& dpi) {
  const DotRectangle all{0, 0, width, height};
  if (detail.place) {
    const std::array<double, 4>& place = *detail.place;
    const DotRectangle wanted{dots(place[0], dpi[0]), dots(place[1], dpi[1]),
                              dots(place[2], dpi[0]), dots(place[3], dpi[1])};
    if (wanted.x >= width || wanted.y >= height || wanted.width == 0 || wanted.height == 0) {
      return std::nullopt;
    }
    return DotRectangle{wanted.x, wanted.y, std::min(wanted.width, width - wanted.x),
                        std::min(wanted.height, height - wanted.y)};
  }
  const bool large =
      dpi[0] > 0 && dpi[1] > 0 && mm(width, dpi[0]) > kLargeMm && mm(height, dpi[1]) > kLargeMm;
  if (detail.whole || !large) return all;
  const std::size_t across = dots(kMiddleMm, dpi[0]);
  const std::size_t down = dots(kMiddleMm, dpi[1]);
  return DotRectangle{(width - across) / 2, (height - down) / 2, across, down};
}

CutDrawing::CutDrawing(std::unique_ptr<Drawing> whole, const DotRectangle& part)
    : whole_(std::move(whole)), part_(part), row_(whole_->width()) {
  part_.x = std::min(part.x, whole_->width());
  part_.y = std::min(part.y, whole_->height());
  part_.width = std::min(part.width, whole_->width() - part_.x);
  part_.height = std::min(part.height, whole_->height() - part_.y);
}

void CutDrawing::row(std::size_t y, Colour* colours) const {
  whole_->row(part_.y + y, row_.data());
  std::copy_n(row_.begin() + static_cast<std::ptrdiff_t>(part_.x), part_.width, colours);
}

}  // namespace kestra::proof
