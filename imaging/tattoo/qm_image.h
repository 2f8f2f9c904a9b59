// The pixel buffer on which the stencil chain works.
#pragma once

#include <cstddef>

namespace kestra {

/// Byte order of a pixel. Any other number stands for 4 bytes as well.
enum QM_IMG_COLOR : int {
  QM_IMG_GRAY = 0,  ///< 1 byte
  QM_IMG_BGR = 1,   ///< 3 bytes
  QM_IMG_RGB = 2,   ///< 3 bytes
  QM_IMG_BGRA = 3,  ///< 4 bytes, the last one ignored
  QM_IMG_RGBA = 4,  ///< 4 bytes, the last one ignored
};

/// A grey or colour image that owns its pixels: row after row without padding, pixel (x, y) from
/// byte (y * width + x) * channels on.
class QMImage {
 public:
  /// Copies width * height pixels.
  /// @param pixels  not kept
  QMImage(int imageWidth, int imageHeight, QM_IMG_COLOR colorType, const unsigned char* pixels);
  /// All pixels 0.
  QMImage(int imageWidth, int imageHeight, QM_IMG_COLOR colorType);
  /// A deep copy; the channel count is taken over, not derived again.
  QMImage(const QMImage& other);
  /// A deep copy into a new buffer. Deliberately without a test for self-assignment, which leaves
  /// an image of zeros.
  QMImage& operator=(const QMImage& other);
  ~QMImage();

  /// Bytes of the buffer: width * height * channels, positive for two negative sides as well; more
  /// than any memory where the product is negative or too large.
  std::size_t size() const;

  int width = 0;
  int height = 0;
  int channels = 4;  ///< bytes per pixel
  QM_IMG_COLOR color = QM_IMG_BGR;
  unsigned char* data = nullptr;  ///< owned
};

}  // namespace kestra
