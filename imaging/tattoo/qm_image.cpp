// Owns the pixels of the stencil chain from step to step.
#include "imaging/tattoo/qm_image.h"

#include <cstdint>
#include <cstring>

namespace kestra {
namespace {

int channelsOf(QM_IMG_COLOR color) {
  switch (color) {
    case QM_IMG_GRAY:
      return 1;
    case QM_IMG_BGR:
    case QM_IMG_RGB:
      return 3;
    default:
      return 4;
  }
}

}  // namespace

QMImage::QMImage(int imageWidth, int imageHeight, QM_IMG_COLOR colorType)
    : width(imageWidth),
      height(imageHeight),
      channels(channelsOf(colorType)),
      color(colorType),
      data(new unsigned char[size()]()) {}

QMImage::QMImage(int imageWidth, int imageHeight, QM_IMG_COLOR colorType,
                 const unsigned char* pixels)
    : width(imageWidth),
      height(imageHeight),
      channels(channelsOf(colorType)),
      color(colorType),
      data(new unsigned char[size()]) {
  std::memcpy(data, pixels, size());
}

QMImage::QMImage(const QMImage& other)
    : width(other.width),
      height(other.height),
      channels(other.channels),
      color(other.color),
      data(new unsigned char[size()]) {
  std::memcpy(data, other.data, size());
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): deliberately none, see the header
QMImage& QMImage::operator=(const QMImage& other) {
  width = other.width;
  height = other.height;
  channels = other.channels;
  color = other.color;
  delete[] data;
  data = new unsigned char[size()]();
  std::memmove(data, other.data, size());
  return *this;
}

QMImage::~QMImage() {
  width = 0;
  height = 0;
  channels = 0;
  delete[] data;
  data = nullptr;
}

// The product, also of two negative sides. One that is no size asks for more than there is, so that
// memory is never too small for it.
std::size_t QMImage::size() const {
  const std::int64_t pixels = std::int64_t{width} * height;
  std::int64_t bytes = 0;
  if (__builtin_mul_overflow(pixels, std::int64_t{channels}, &bytes) || bytes < 0) {
    return static_cast<std::size_t>(-1);
  }
  return static_cast<std::size_t>(bytes);
}

}  // namespace kestra
