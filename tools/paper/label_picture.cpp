// Keeps a label's rows up to a limit and draws them row by row.
//
// Memory grows with the bytes that came, not with those that were announced.
#include "tools/paper/label_picture.h"

#include <algorithm>

#include "tools/proof/drawing.h"
#include "tools/proof/png_writer.h"

namespace kestra::paper {
namespace {

constexpr std::size_t kCountBytes = 2;

// Rows with a count before their dots.
class RowsDrawing : public proof::Drawing {
 public:
  RowsDrawing(const std::vector<std::uint8_t>& bytes, std::size_t record)
      : bytes_(bytes), record_(record) {}

  std::size_t width() const override { return (record_ - kCountBytes) * 8; }
  std::size_t height() const override { return (bytes_.size() + record_ - 1) / record_; }
  bool colourful() const override { return false; }
  void row(std::size_t y, proof::Colour* colours) const override {
    for (std::size_t x = 0; x < width(); ++x) {
      const std::size_t at = y * record_ + kCountBytes + x / 8;
      const unsigned byte = at < bytes_.size() ? bytes_[at] : 0U;
      colours[x] = ((byte >> (7 - x % 8)) & 1U) != 0 ? proof::Colour::kDot : proof::Colour::kPaper;
    }
  }

 private:
  const std::vector<std::uint8_t>& bytes_;  // the picture's
  std::size_t record_;
};

}  // namespace

void LabelPicture::begin(std::size_t record, std::size_t rows) {
  record_ = record;
  rows_ = rows;
  tooLarge_ = record * rows > kMostBytes;
  bytes_.clear();
}

void LabelPicture::add(const std::uint8_t* data, std::size_t size) {
  if (!tooLarge_) bytes_.insert(bytes_.end(), data, data + size);
}

Result<void> LabelPicture::write(const std::string& path, unsigned dpi) const {
  if (tooLarge_) {
    return Problem{"the label is too large for a picture: " + std::to_string(rows_) + " rows of " +
                   std::to_string(record_) + " bytes"};
  }
  return proof::writePng(path, RowsDrawing(bytes_, record_), {{dpi, dpi}, 1});
}

}  // namespace kestra::paper
