// The one place that calls libpng: a page of dots in, a picture file out.
//
// libpng leaves a failed call with a jump; it is caught in one short function that owns nothing
// which a jump could skip.
#include "tools/proof/png_writer.h"

#include <png.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace kestra {
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

// Writes the picture to an open file. Only plain values live in this function, because a jump
// out of libpng runs no destructors.
bool writeRows(std::FILE* file, png_structp png, png_infop info, const PageFrame& frame, int dpi) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_init_io(png, file);
  png_set_IHDR(png, info, static_cast<png_uint_32>(frame.drawn_width()), frame.row_count, 1,
               PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  const auto dotsPerMetre = static_cast<png_uint_32>(std::lround(dpi / kMetresPerInch));
  png_set_pHYs(png, info, dotsPerMetre, dotsPerMetre, PNG_RESOLUTION_METER);
  png_write_info(png, info);
  png_set_invert_mono(png);  // in PNG 0 is black, on the print head 1 is
  for (std::size_t y = 0; y < frame.row_count; ++y) png_write_row(png, frame.row(y).dots.data);
  png_write_end(png, info);
  return true;
}

bool writeTo(std::FILE* file, const PageFrame& frame, int dpi, std::string& problem) {
  Failure failure;
  png_structp png =
      png_create_write_struct(PNG_LIBPNG_VER_STRING, &failure, keepError, ignoreWarning);
  png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
  bool good = false;
  if (info == nullptr) {
    problem = "not enough memory for the picture";
  } else {
    good = writeRows(file, png, info, frame, dpi);
    if (!good) problem = failure.text.data();
  }
  png_destroy_write_struct(&png, &info);
  return good;
}

// The mode that a newly created file would have had; mkstemp makes it private.
mode_t usualMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return static_cast<mode_t>(0666) & ~mask;
}

}  // namespace

bool writePng(const std::string& path, const PageFrame& frame, int dpi, std::string& problem) {
  std::string temporary = path + ".XXXXXX";
  const int descriptor = mkstemp(temporary.data());
  if (descriptor < 0) {
    problem = path + " cannot be written: " + std::strerror(errno);
    return false;
  }
  std::FILE* file = fdopen(descriptor, "wb");
  bool good = file != nullptr && fchmod(descriptor, usualMode()) == 0;
  if (!good) problem = std::strerror(errno);
  if (good) good = writeTo(file, frame, dpi, problem);
  if (file == nullptr) {
    close(descriptor);
  } else if (std::fclose(file) != 0 && good) {
    problem = std::strerror(errno);
    good = false;
  }
  if (good && std::rename(temporary.c_str(), path.c_str()) != 0) {
    problem = std::strerror(errno);
    good = false;
  }
  if (!good) {
    std::remove(temporary.c_str());
    problem = path + " cannot be written: " + problem;
  }
  return good;
}

}  // namespace kestra
