// The digest by which a label is known: SHA-256 of its frame without the page number.
//
// Two runs of one job give frames that differ in the page number alone, and are the same labels.
#pragma once

#include <nettle/sha2.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace kestra::paper {

/// Takes a frame, from "SIZ" on, in pieces of any size.
class LabelDigest {
 public:
  LabelDigest() { sha256_init(&state_); }

  void add(const std::uint8_t* data, std::size_t size);
  /// 64 small hex digits; starts anew.
  [[nodiscard]] std::string take();

 private:
  sha256_ctx state_ = {};
  std::uint64_t size_ = 0;  // bytes so far, up to the end of the page number
};

}  // namespace kestra::paper
