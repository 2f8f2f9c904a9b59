// Compares a file's first bytes with those of the known kinds; anything else may still be text.
//
// A sentence on what to do is better than a renderer's complaint about bytes it cannot read.
#include "tools/render/document_type.h"

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

namespace kestra {
namespace {

using namespace std::string_view_literals;

struct Start {
  std::string_view bytes;
  DocumentType type;
};

constexpr std::array<Start, 15> kStarts = {{
    {"%PDF"sv, DocumentType::kPdf},
    {"%!"sv, DocumentType::kPostScript},
    {"\x04%!PS-"sv, DocumentType::kPostScript},     // as some printer drivers start it
    {"\x1B%-12345"sv, DocumentType::kPostScript},   // a printer's job language around it
    {"\x89PNG\r\n\x1A\n"sv, DocumentType::kImage},  //
    {"\xFF\xD8\xFF"sv, DocumentType::kImage},       // JPEG
    {"SIZ\x00"sv, DocumentType::kFrame},            // the label block with its media code
    {"SIZ\x01"sv, DocumentType::kFrame},
    {"SIZ\x02"sv, DocumentType::kFrame},
    // Raster streams of three versions, each in both byte orders.
    {"RaSt"sv, DocumentType::kRaster},
    {"tSaR"sv, DocumentType::kRaster},
    {"RaS2"sv, DocumentType::kRaster},
    {"2SaR"sv, DocumentType::kRaster},
    {"RaS3"sv, DocumentType::kRaster},
    {"3SaR"sv, DocumentType::kRaster},
}};

constexpr std::string_view kPwgRaster = "RaS2PwgR"sv;

struct Closer {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closer>;

// UTF-8 as it comes, byte by byte: well formed, and no control characters but blanks and line ends.
class TextCheck {
 public:
  bool take(std::uint8_t byte) {
    if (missing_ > 0) {
      --missing_;
      const bool good = byte >= low_ && byte <= high_;
      low_ = 0x80;
      high_ = 0xBF;
      return good;
    }
    if (byte < 0x80) return (byte >= 0x20 && byte != 0x7F) || (byte >= 0x09 && byte <= 0x0D);
    if (byte < 0xC2 || byte > 0xF4) return false;
    missing_ = byte < 0xE0 ? 1 : (byte < 0xF0 ? 2 : 3);
    // No longer forms than needed, no halves of pairs, nothing beyond the last character.
    if (byte == 0xE0) low_ = 0xA0;
    if (byte == 0xED) high_ = 0x9F;
    if (byte == 0xF0) low_ = 0x90;
    if (byte == 0xF4) high_ = 0x8F;
    return true;
  }
  bool complete() const { return missing_ == 0; }

 private:
  int missing_ = 0;
  std::uint8_t low_ = 0x80;
  std::uint8_t high_ = 0xBF;
};

bool isText(std::FILE* file) {
  TextCheck check;
  std::rewind(file);
  std::array<std::uint8_t, 65536> block = {};
  for (;;) {
    const std::size_t got = std::fread(block.data(), 1, block.size(), file);
    for (std::size_t i = 0; i < got; ++i) {
      if (!check.take(block[i])) return false;
    }
    if (got < block.size()) return std::ferror(file) == 0 && check.complete();
  }
}

}  // namespace

const char* typeWords(DocumentType type) {
  switch (type) {
    case DocumentType::kPdf:
      return "PDF";
    case DocumentType::kPostScript:
      return "PostScript";
    case DocumentType::kImage:
      return "picture";
    case DocumentType::kText:
      return "text";
    case DocumentType::kRaster:
      return "CUPS raster";
    case DocumentType::kFrame:
      return "page frame";
  }
  return "unknown";
}

Result<DocumentType> documentType(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) {
    return Problem{std::string("cannot be read: ") + std::strerror(errno)};
  }
  if (!S_ISREG(status.st_mode)) {
    return Problem{S_ISDIR(status.st_mode) ? "is a directory, give the files in it"
                                           : "is no ordinary file; copy it into one"};
  }
  const File file(std::fopen(path.c_str(), "rb"));
  if (file == nullptr) {
    return Problem{std::string("cannot be read: ") + std::strerror(errno)};
  }
  std::array<char, 16> first = {};
  const std::string_view start(first.data(), std::fread(first.data(), 1, first.size(), file.get()));
  if (start.empty()) return Problem{"is empty"};
  if (start.substr(0, kPwgRaster.size()) == kPwgRaster) {
    return Problem{
        "is a PWG raster file, whose greys are the other way round; give the document itself"};
  }
  for (const Start& known : kStarts) {
    if (start.substr(0, known.bytes.size()) == known.bytes) return known.type;
  }
  if (isText(file.get())) return DocumentType::kText;
  return Problem{
      "is of no known type; PDF, PostScript, PNG, JPEG, text, CUPS raster and page frames can be "
      "shown"};
}

}  // namespace kestra
