// What a sender asks of the way to a printer, whichever it is: send, prove, start anew.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "delivery/core/watch.h"

namespace kestra::delivery {

/// Says one line to the print system: "INFO: ...", "STATE: +offline-report", "PAGE: total 3". No
/// line end. At most 2,000 bytes, as the print system cuts longer ones.
using Tell = std::function<void(const std::string& line)>;

enum class Progress {
  kDone,
  kStopped,   ///< a stop was asked for that ends the wait
  kTimedOut,  ///< the patience is at its end
  kBroken,    ///< the way is cut: what was under way may be lost; `open` starts anew
  kHopeless,  ///< no start can help: no such program, an address that is none, a full disk
};

/// What the printer may have in its memory when a way is opened.
enum class Before {
  kNothing,
  kTornPage,  ///< part of a page: where the way knows how, the printer is made to forget it
};

/// A way to one printer. Bytes go in order; they are counted from 0 from the first `open`, or the
/// first one behind a `drop`, however often the way is readied for another page between. All calls
/// serve the watch while they wait. Owned and used by one sender.
class Sink {
 public:
  Sink() = default;
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;
  virtual ~Sink() = default;

  /// Readies the way for the first byte of a page; returns at once where it is ready. Waits for a
  /// printer that is away as long as the patience lasts, telling so.
  [[nodiscard]] virtual Progress open(Before before, const Patience& patience) = 0;

  /// Hands bytes over. `sent` tells how many were, however it ends.
  [[nodiscard]] virtual Progress send(const std::uint8_t* data, std::size_t size,
                                      const Patience& patience) = 0;
  /// Bytes handed over since the way was opened anew.
  [[nodiscard]] virtual std::uint64_t sent() const = 0;

  /// Hands over the rest of a page but for its last byte, as `send` does, and waits until all that
  /// was handed over is at the printer, as far as that can be known in the middle of a page; a way
  /// that cannot know it there does not wait.
  [[nodiscard]] virtual Progress settle(const std::uint8_t* data, std::size_t size,
                                        const Patience& patience) = 0;

  /// After the last byte of a page: waits for the best proof there is that the printer has it.
  [[nodiscard]] virtual Progress prove(const Patience& patience) = 0;

  /// Of the bytes that `sent` counts, those that the printer has read for sure, as far as was known
  /// last; still there after a break, until `drop`. What was proven beyond may be lost with the
  /// printer's memory.
  [[nodiscard]] virtual std::uint64_t surelyRead() const = 0;

  /// The end of the job, after the last proof: lets the printer read what it has. kBroken where it
  /// lost that; kDone at once where no way is open.
  [[nodiscard]] virtual Progress finish(const Patience& patience) = 0;

  /// Gives the way up at once, without waiting for anything. `open` starts anew.
  virtual void drop() = 0;

  /// One sentence on the last break or obstacle, for the person who prints.
  [[nodiscard]] virtual std::string problem() const = 0;

  /// After kHopeless: the exit code that a wrapped program ended with to have the job held or
  /// cancelled, or the queue stopped; 0 where there is none.
  [[nodiscard]] virtual int innerExit() const { return 0; }
};

}  // namespace kestra::delivery
