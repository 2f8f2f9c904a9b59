// Writes pages as bitmap files for inspection.
#pragma once

namespace kestra {

/// Writes a page image as a bitmap file, readable by its owner alone. Where the file cannot be
/// opened a line on standard error says so; failed writes go unnoticed.
/// @param pathTemplate  a printf format that takes year, month, day, hour, minute, second of the
///                      local time and a counter of the process's images (%ld)
/// @param data          height rows of one byte per pixel, `bytesPerLine` bytes apart
/// @param bitsPerPixel  8: grey file; 1: two-colour file
void saveDebugImage(const char* pathTemplate, const unsigned char* data, unsigned long bytesPerLine,
                    unsigned long height, unsigned long width, unsigned short bitsPerPixel);

}  // namespace kestra
