// Writes the first inputs of each fuzz target, so that a fuzzer starts from jobs that print.
// Why: from nothing it would take hours to find a raster stream or a printer description.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/page_makers.h"
#include "tests/support/ppd_text.h"
#include "tests/support/raster_stream.h"

namespace kestra::fuzz {
namespace {

namespace ts = testing_support;

std::string low(unsigned value) { return std::string(1, static_cast<char>(value)); }
std::string word(unsigned value) { return low(value & 255U) + low(value >> 8U); }

void put(const std::filesystem::path& file, const std::string& bytes) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << bytes;
}

// Kind, level and state of the pixels that `makePixels` draws.
std::string pixels(unsigned kind, unsigned level) { return low(kind) + low(level) + "abcd"; }

// A page of a described job: size, no spare bytes, 203 dpi, no odd field.
std::string page(unsigned width, unsigned height, unsigned kind) {
  return word(width) + word(height) + low(0) + low(0) + low(0) + pixels(kind, 200);
}

// A described job: see `runDescribedJob` for the order of its bytes.
std::string describedJob(unsigned halftone, unsigned barcode, bool mirror, bool negative,
                         unsigned width) {
  return low(0) + low(halftone) + low(barcode) + low(mirror ? 1 : 0) + low(negative ? 1 : 0) +
         std::string(5, '\0') + word(288) + word(42) + low(halftone % 2) + low(0) + low(1) +
         page(width, 40, halftone % 4) + page(33, 9, 1);
}

void writeJobs(const std::filesystem::path& folder) {
  for (unsigned halftone = 0; halftone < 10; ++halftone) {
    put(folder / ("halftone-" + std::to_string(halftone)),
        describedJob(halftone, halftone % 4, halftone % 3 == 0, halftone % 2 == 0,
                     60 + halftone * 37));
  }
  const std::string stream =
      ts::rawStream({{ts::makeHeader(24, 4, 24), ts::makePicture("noise", 24, 4)}});
  const std::string start =
      low(1) + low(1) + low(1) + "7\nlabel\nHalftoneType=Tattoo Darkness=Dark\n";
  put(folder / "own-description", start + ts::PpdText().text() + low(0) + stream);
  put(folder / "compressed",
      low(1) + low(0) + low(1) + "7\nlabel\nnoMirrorImage\n288\nBrightness 20\n " +
          ts::writeStream({{ts::makeHeader(24, 4, 24), ts::makePicture("bars", 24, 4)}}, true));
  put(folder / "cut-stream", low(1) + low(0) + low(0) +
                                 "1\n../a/b\nPrintSpeed=9\n100\nPrintSpeed 9\n " + page(40, 20, 1) +
                                 page(40, 20, 2) + word(100));
}

void writeSettings(const std::filesystem::path& folder) {
  put(folder / "every-option",
      "label\nPageSize=Wide Resolution=300dpi Darkness=Dark noMirrorImage NegativeImage=True "
      "Brightness=-20 HalftoneType=tattoo x=\"a b\" y='c' z={d=e}\n" +
          ts::PpdText().text());
  put(folder / "custom-size",
      "a_b\nPageSize=Custom.100x50mm\n" + ts::PpdText().allowCustomSizes(20, 2000).text());
  put(folder / "odd-numbers", "\n\n" + ts::PpdText()
                                           .setMaxMediaWidth("1e300")
                                           .setOption("GapsHeight", "99999999999", {"99999999999"})
                                           .setOption("Brightness", "-0x10", {"-0x10"})
                                           .text());
}

void writePages(const std::filesystem::path& root) {
  for (unsigned kind = 0; kind < 5; ++kind) {
    const std::string name = "pixels-" + std::to_string(kind);
    const std::string drawn = pixels(kind, 126) + "own bytes of this page";
    for (unsigned method = 0; method < 9; ++method) {
      put(root / "dither" / (name + "-method-" + std::to_string(method)),
          low(method) + word(40 + method * 29) + word(20) + drawn);
    }
    for (const unsigned threshold : {0U, 1U, 128U, 255U}) {
      put(root / "stencil" / (name + "-threshold-" + std::to_string(threshold)),
          low(threshold) + word(60 + threshold / 8) + word(24) + drawn);
    }
    for (unsigned rules = 0; rules < 4; ++rules) {
      put(root / "barcode" / (name + "-rules-" + std::to_string(rules)),
          word(400 + rules) + word(30) + low(rules) + pixels(kind, 255) + drawn);
    }
    for (unsigned depth = 0; depth < 2; ++depth) {
      put(root / "debug_image" / (name + "-depth-" + std::to_string(depth)),
          word(37 + kind) + low(kind) + word(11) + low(depth) + drawn);
    }
  }
}

void writeFrames(const std::filesystem::path& folder) {
  const std::string frame = "SIZ" + low(1) + word(12) + word(2) + word(15) + word(0) + word(1) +
                            "\x1D" + "v0" + low(0) + word(5) + word(2) + word(4) + low(0) + "\xF0" +
                            low(0) + word(1) + word(0) + low(0x10);
  put(folder / "frame", frame);
  put(folder / "frame-cut", frame.substr(0, 30));
  put(folder / "commands",
      "\x1Bs\x01" + word(0) + low(2) + low(1) + "\x1Bs\x01" + word(0) + word(0));
  put(folder / "counter", word(8999));
}

}  // namespace
}  // namespace kestra::fuzz

// Usage: kestra_make_corpus FOLDER
int main(int argc, char* argv[]) {
  if (argc != 2) return 2;
  const std::filesystem::path root = argv[1];
  kestra::fuzz::writeJobs(root / "job");
  kestra::fuzz::writeSettings(root / "settings");
  kestra::fuzz::writePages(root);
  kestra::fuzz::writeFrames(root / "frame");
  return 0;
}
