// Labels spelled out byte by byte, as a sender would send them.
//
// They are written from the layout the print head expects, apart from the program's parser and from
// the filter, so that neither can hide a mistake of the other.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>

namespace kestra::paper {

/// Bytes in a text, so that streams can be put together with +.
using Bytes = std::string;

Bytes bytes(std::initializer_list<int> values);

/// A command: speed code 2, darkness 1.
Bytes command();

/// The frame of a label of 12 x 2 dots behind one margin byte, 32 bytes: row 0 is FF F0 (12 black
/// dots), row 1 is `pattern` 10 (its black dots and one more). Labels of different patterns are
/// different labels.
Bytes smallFrame(unsigned pattern = 0x80, unsigned page = 7);

/// Command and frame, 39 bytes.
Bytes smallLabel(unsigned pattern = 0x80, unsigned page = 7);

/// A label with a command whose row records have `record` bytes, `rows` of them, all dots of a row
/// black in its first byte only.
Bytes largeLabel(std::size_t record, std::size_t rows, unsigned page = 1);

/// The list's line of a frame, its digest made with another library than the program's.
std::string listLine(const Bytes& frame, const std::string& name);

}  // namespace kestra::paper
