// The few numbers of a raster stream's page header that a fitted page depends on, read and written
// where they lie.
//
// All other bytes of a header stay as they came, whatever version of the stream they belong to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace kestra {

/// How the pages of a stream are written; its first four bytes say so.
struct RasterForm {
  bool swapped = false;    ///< numbers have the other byte order than this machine's
  bool packed = false;     ///< rows are compressed
  std::size_t header = 0;  ///< bytes of a page header
};

/// Bytes of the word that begins a stream.
inline constexpr std::size_t kSyncBytes = 4;

/// Reads the first `kSyncBytes` of a stream; nothing where they begin no raster stream.
[[nodiscard]] std::optional<RasterForm> rasterForm(const std::uint8_t* sync);

/// What a page header says of the page's rows.
struct PageShape {
  std::uint32_t dotsPerInch = 0;   ///< across
  std::uint32_t width = 0;         ///< dots
  std::uint32_t bytesPerLine = 0;  ///< at least `width`
  std::uint32_t height = 0;        ///< rows
  std::uint8_t paper = 0;          ///< the byte of a dot of blank paper
};

/// The shape of a page of one byte per dot that the filter prints. Nothing for every other page:
/// the filter ends a job there, and it has the words for it.
[[nodiscard]] std::optional<PageShape> pageShape(const std::uint8_t* header, RasterForm form);

/// Makes a header tell of rows of `width` dots and as many bytes. Page size, margins and everything
/// else about the sheet stay: the sheet is the same.
void setWidth(std::uint8_t* header, RasterForm form, std::uint32_t width);

}  // namespace kestra
