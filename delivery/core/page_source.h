// Where a sender gets its labels from: a running filter, frames that were kept, or files by hand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "delivery/core/page.h"
#include "delivery/core/watch.h"

namespace kestra::delivery {

enum class Next {
  kPage,
  kRaw,      ///< bytes that are no page follow: they are passed on as they are
  kEnd,      ///< all of the job's labels were there
  kCut,      ///< the input ended, but not as a filter ends that printed its document
  kMissing,  ///< a page was announced and never stored
  kBad,      ///< a frame that must not be sent
  kStopped,  ///< a stop was asked for, or the patience is at its end
};

/// Labels in printing order, counted from 1. An earlier one can be asked for again: its print may
/// have been lost.
class PageSource {
 public:
  PageSource() = default;
  PageSource(const PageSource&) = delete;
  PageSource& operator=(const PageSource&) = delete;
  virtual ~PageSource() = default;

  /// Waits until it is known whether there is a label of this number.
  [[nodiscard]] virtual Next announced(std::size_t number, const Patience& patience) = 0;

  /// Waits for the label itself.
  [[nodiscard]] virtual Next page(std::size_t number, Page& page, const Patience& patience) = 0;

  /// After kRaw: waits for bytes that are no page; empty at their end.
  [[nodiscard]] virtual Next raw(std::vector<std::uint8_t>& bytes, const Patience& patience) = 0;

  /// How many labels there are, once that is known.
  [[nodiscard]] virtual std::optional<std::size_t> total() const = 0;

  /// One sentence on the last kCut, kMissing or kBad.
  [[nodiscard]] virtual std::string problem() const = 0;
};

}  // namespace kestra::delivery
