// Walks through a stream header by header, and hands rows on as they are or fitted.
#include "tools/fit/fit_stream.h"

#include <algorithm>
#include <vector>

#include "filter/base/page_size.h"
#include "tools/fit/packed_row.h"
#include "tools/fit/raster_header.h"

namespace kestra {
namespace {

class Fitter {
 public:
  Fitter(int input, int output, double headPoints,
         const std::function<void(const PageChange&)>& changed)
      : relay_(input, output), headPoints_(headPoints), changed_(changed) {}

  FitResult run() {
    passPages();
    relay_.passRest();
    relay_.flush();
    return {relay_.state(), relay_.error()};
  }

 private:
  // Comes back at the first bytes that are no page of the filter's.
  void passPages() {
    if (relay_.look(kSyncBytes) < kSyncBytes) return;
    const std::optional<RasterForm> form = rasterForm(relay_.next());
    if (!form || !relay_.pass(kSyncBytes)) return;
    form_ = *form;
    bool more = true;
    while (more && relay_.look(form_.header) == form_.header) {
      const std::optional<PageShape> shape = pageShape(relay_.next(), form_);
      if (!shape) return;
      ++page_;
      const RowFit fit = rowFit(shape->width, headDots(headPoints_, shape->dotsPerInch));
      const bool fits = fit.width() == shape->width && shape->bytesPerLine == shape->width;
      more = fits ? passPage(*shape) : fitPage(*shape, fit);
    }
  }

  bool passPage(const PageShape& shape) {
    const std::uint64_t bytes = pageBytes(shape.bytesPerLine, shape.height);
    if (!form_.packed) return relay_.pass(form_.header + bytes);
    if (!relay_.pass(form_.header)) return false;
    std::uint32_t rows = 0;
    for (std::uint32_t left = shape.height; left > 0; left -= std::min(left, rows)) {
      if (!passPackedRow(&relay_, shape.bytesPerLine, &rows)) return false;
    }
    return true;
  }

  bool fitPage(const PageShape& shape, const RowFit& fit) {
    changed_({page_, fit, shape.dotsPerInch});
    row_.clear();
    if (!relay_.take(form_.header, &row_)) return false;
    setWidth(row_.data(), form_, fit.width());
    relay_.put(row_.data(), row_.size());
    std::uint32_t rows = 1;
    for (std::uint32_t left = shape.height; left > 0; left -= std::min(left, rows)) {
      row_.clear();
      const bool whole =
          form_.packed ? takePackedRow(&relay_, shape.bytesPerLine, fit, shape.paper, &row_, &rows)
                       : takeRow(shape, fit);
      // Half a row makes no page: the filter skips one that breaks off.
      if (!whole) return false;
      relay_.put(row_.data(), row_.size());
    }
    return true;
  }

  bool takeRow(const PageShape& shape, const RowFit& fit) {
    if (!relay_.skip(fit.skip) || !relay_.take(fit.keep, &row_) ||
        !relay_.skip(shape.bytesPerLine - fit.skip - fit.keep)) {
      return false;
    }
    row_.insert(row_.end(), fit.fill, shape.paper);
    return true;
  }

  Relay relay_;
  double headPoints_;
  const std::function<void(const PageChange&)>& changed_;
  RasterForm form_;
  unsigned page_ = 0;
  std::vector<std::uint8_t> row_;  // the fitted row, packed where the stream is
};

}  // namespace

FitResult fitStream(int input, int output, double headPoints,
                    const std::function<void(const PageChange&)>& changed) {
  return Fitter(input, output, headPoints, changed).run();
}

}  // namespace kestra
