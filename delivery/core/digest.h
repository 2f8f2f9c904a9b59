// Tells labels and devices apart by a short text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kestra::delivery {

/// What two prints of the same label have in common: SHA-256 in lower-case hex over the frame with
/// its page number, the only thing that changes from start to start of a job, set to 0. The bytes
/// are touched meanwhile, not changed: a copy of a large label would double the memory. Empty where
/// there is no such hash.
[[nodiscard]] std::string frameDigest(std::uint8_t* frame, std::size_t size);

/// SHA-256 of a text in lower-case hex.
[[nodiscard]] std::string textDigest(const std::string& text);

}  // namespace kestra::delivery
