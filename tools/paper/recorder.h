// Turns what the parser finds into labels: their digest, times, picture, line in the log, counters.
//
// Everything that is ever said about what came goes through here, so that log, words and verdict
// agree.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/paper/journal.h"
#include "tools/paper/label_digest.h"
#include "tools/paper/label_picture.h"
#include "tools/paper/stream_parser.h"

namespace kestra::paper {

struct Counters {
  std::uint64_t whole = 0;  ///< labels whose last byte came
  std::uint64_t torn = 0;   ///< labels that began and did not end
  std::uint64_t faults = 0;
  std::uint64_t garbage = 0;  ///< bytes that belong to no label
  std::uint64_t connections = 0;
  std::uint64_t bytes = 0;

  /// Labels that began, a torn one included.
  [[nodiscard]] std::uint64_t begun(bool underWay) const {
    return whole + torn + (underWay ? 1 : 0);
  }
};

class Recorder : public StreamListener {
 public:
  /// @param journal  the caller's, used as long as this object is
  /// @param folder   where pictures go; empty: none
  /// @param dpi      of the head, for the size of pictures and millimetres
  Recorder(Journal& journal, std::string folder, unsigned dpi)
      : journal_(journal), folder_(std::move(folder)), dpi_(dpi) {}

  /// A connection begins; labels that come are its.
  void opened();
  /// @param how     "end", "reset", "closed", "reset by printer" ...
  /// @param unread  bytes that came and were never read
  void closed(const char* how, std::uint64_t unread);
  /// `bytes` are about to be parsed. Call for each piece, before it is fed.
  void read(std::size_t bytes);
  /// Why the label under way ends if it is torn now.
  void expectCut(const char* why) { cut_ = why; }

  void labelBegins(std::uint64_t offset) override;
  void setting(const Setting& setting) override { setting_ = setting; }
  void head(const LabelHead& head) override;
  void frameBytes(const std::uint8_t* data, std::size_t size) override;
  void row(bool countAgrees, bool isWhite) override;
  void labelEnds(bool whole) override;
  void fault(const Fault& fault) override;
  void garbageEnds(std::uint64_t offset, std::uint64_t garbage) override;

  [[nodiscard]] const Counters& counters() const { return counters_; }
  /// Labels that began, the one under way included.
  [[nodiscard]] std::uint64_t begun() const { return counters_.begun(underWay_); }
  /// Digests of the whole labels, in the order in which they came.
  [[nodiscard]] const std::vector<std::string>& came() const { return came_; }
  /// The number of each of them among all labels that began.
  [[nodiscard]] const std::vector<std::uint64_t>& cameNumbers() const { return cameNumbers_; }

 private:
  std::string draw(std::uint64_t number);

  Journal& journal_;  // the caller's
  std::string folder_;
  unsigned dpi_;
  Counters counters_;
  std::vector<std::string> came_;
  std::vector<std::uint64_t> cameNumbers_;
  double now_ = 0;  // when the piece under way was read
  std::uint64_t connectionBytes_ = 0;
  const char* cut_ = "end of stream";
  // The label under way.
  bool underWay_ = false;
  std::uint64_t offset_ = 0;
  double first_ = 0;
  std::uint64_t frameBytes_ = 0;
  std::optional<Setting> setting_;
  std::optional<LabelHead> head_;
  LabelDigest digest_;
  LabelPicture picture_;
  std::uint64_t rows_ = 0;
  std::uint64_t wrongRows_ = 0;
  std::uint64_t whiteTail_ = 0;  // white rows at the end of those that came
};

}  // namespace kestra::paper
