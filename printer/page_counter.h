// The page counter of a queue, kept from job to job in a marker file of two bytes.
#pragma once

#include <cstdint>

namespace kestra {

/// Reads a queue's counter, little-endian. Of a marker file that is too short the bytes that are
/// there replace those of `counter`; without a file nothing changes.
void readPageCounter(const char* queue, std::uint16_t* counter);

/// Stores a queue's counter, replacing the marker file as a whole; failures are ignored. A queue
/// name that is no plain file name has no marker, so that none is ever made elsewhere.
void storePageCounter(const char* queue, std::uint16_t counter);

}  // namespace kestra
