// The one place that calls libpng: a drawing in, a picture file out.
//
// libpng leaves a failed call with a jump; it is caught in one short function that owns nothing
// which a jump could skip.
#include "tools/proof/png_writer.h"

#include <png.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace kestra::proof {
namespace {

constexpr double kMetresPerInch = 0.0254;

struct Failure {
  std::array<char, 160> text = {};
};

// Keeps libpng's words for the caller and jumps back to it.
[[noreturn]] void keepError(png_structp png, png_const_charp words) {
  auto* failure = static_cast<Failure*>(png_get_error_ptr(png));
  std::snprintf(failure->text.data(), failure->text.size(), "%s", words);
  png_longjmp(png, 1);
}

void ignoreWarning(png_structp /*png*/, png_const_charp /*words*/) {}

// Paper, dot, head without paper, gap, black mark, label edge.
constexpr std::array<png_color, kColourCount> kPalette = {{
    {255, 255, 255},
    {0, 0, 0},
    {200, 220, 245},
    {250, 230, 150},
    {110, 110, 110},
    {220, 30, 30},
}};

// How the rows of a picture are laid out, and room for one of each kind.
struct Rows {
  const Drawing& drawing;
  const PictureFacts& size;
  int bits;                     // per pixel
  std::vector<Colour> colours;  // a row of the drawing
  std::vector<png_byte> bytes;  // the same, enlarged and packed
  std::string software = "Software";
  std::string title = "Title";
  std::string noLanguage;
  std::string program;
  std::string document;
  std::array<png_text, 2> words = {};  // point into the two before
  Rows(const Drawing& picture, const PictureFacts& wanted)
      : drawing(picture),
        size(wanted),
        bits(picture.colourful() ? 4 : 1),
        colours(picture.width()),
        bytes((picture.width() * wanted.scale * static_cast<std::size_t>(bits) + 7) / 8),
        program(wanted.program),
        document(wanted.document) {
    words[0].compression = PNG_TEXT_COMPRESSION_NONE;
    words[0].key = software.data();
    words[0].text = program.data();
    words[0].text_length = program.size();
    words[1].compression = PNG_ITXT_COMPRESSION_NONE;  // names of files are UTF-8
    words[1].key = title.data();
    words[1].text = document.data();
    words[1].itxt_length = document.size();
    words[1].lang = noLanguage.data();
    words[1].lang_key = noLanguage.data();
  }
  Rows(const Rows&) = delete;
  Rows& operator=(const Rows&) = delete;

  // The leftmost pixel is in the highest bits of a byte.
  void pack(std::size_t y) {
    drawing.row(y, colours.data());
    std::fill(bytes.begin(), bytes.end(), png_byte{0});
    const auto step = static_cast<std::size_t>(bits);
    std::size_t bit = 0;
    for (const Colour colour : colours) {
      for (unsigned i = 0; i < size.scale; ++i, bit += step) {
        // In grey PNGs 0 is black and 1 is white; palette entries count as in kPalette.
        const unsigned value =
            bits == 1 ? (colour == Colour::kPaper ? 1U : 0U) : static_cast<unsigned>(colour);
        bytes[bit / 8] = static_cast<png_byte>(bytes[bit / 8] | (value << (8 - step - bit % 8)));
      }
    }
  }
};

png_uint_32 pixelsPerMetre(unsigned dpi, unsigned scale) {
  return static_cast<png_uint_32>(std::lround(dpi * scale / kMetresPerInch));
}

// Writes the picture to an open file. Only plain values live in this function, because a jump
// out of libpng runs no destructors.
bool writeRows(std::FILE* file, png_structp png, png_infop info, Rows& rows) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  const PictureFacts& size = rows.size;
  png_init_io(png, file);
  png_set_IHDR(png, info, static_cast<png_uint_32>(rows.drawing.width() * size.scale),
               static_cast<png_uint_32>(rows.drawing.height() * size.scale), rows.bits,
               rows.bits == 1 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_PALETTE, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (rows.bits != 1) png_set_PLTE(png, info, kPalette.data(), static_cast<int>(kPalette.size()));
  png_set_pHYs(png, info, pixelsPerMetre(size.dpi[0], size.scale),
               pixelsPerMetre(size.dpi[1], size.scale), PNG_RESOLUTION_METER);
  if (rows.words.front().text_length > 0) {
    png_set_text(png, info, rows.words.data(), static_cast<int>(rows.words.size()));
  }
  png_write_info(png, info);
  for (std::size_t y = 0; y < rows.drawing.height(); ++y) {
    rows.pack(y);
    for (unsigned i = 0; i < size.scale; ++i) png_write_row(png, rows.bytes.data());
  }
  png_write_end(png, info);
  return true;
}

Result<void> writeTo(std::FILE* file, const Drawing& drawing, const PictureFacts& size) {
  Rows rows(drawing, size);
  Failure failure;
  png_structp png =
      png_create_write_struct(PNG_LIBPNG_VER_STRING, &failure, keepError, ignoreWarning);
  png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
  Result<void> written;
  if (info == nullptr) {
    written = Problem{"not enough memory for the picture"};
  } else if (!writeRows(file, png, info, rows)) {
    written = Problem{failure.text.data()};
  }
  png_destroy_write_struct(&png, &info);
  return written;
}

// The mode that a newly created file would have had; mkstemp makes it private.
mode_t usualMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return static_cast<mode_t>(0666) & ~mask;
}

Problem systemProblem() { return {std::strerror(errno)}; }

// Writes to a new file and closes it. The descriptor is used up.
Result<void> writeNew(int descriptor, const Drawing& drawing, const PictureFacts& size) {
  std::FILE* file = fdopen(descriptor, "wb");
  if (file == nullptr) {
    const Problem problem = systemProblem();
    close(descriptor);
    return problem;
  }
  Result<void> written;
  if (fchmod(descriptor, usualMode()) == 0) {
    written = writeTo(file, drawing, size);
  } else {
    written = systemProblem();
  }
  if (std::fclose(file) != 0 && written) return systemProblem();
  return written;
}

}  // namespace

Result<void> writePng(const std::string& path, const Drawing& drawing, const PictureFacts& size) {
  std::string temporary = path + ".XXXXXX";
  const int descriptor = mkstemp(temporary.data());
  if (descriptor < 0) return Problem{path + " cannot be written: " + std::strerror(errno)};
  Result<void> written = writeNew(descriptor, drawing, size);
  if (written && std::rename(temporary.c_str(), path.c_str()) != 0) written = systemProblem();
  if (written) return written;
  std::remove(temporary.c_str());
  return Problem{path + " cannot be written: " + written.problem()};
}

}  // namespace kestra::proof
