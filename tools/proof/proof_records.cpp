// Reads a record's file, lets the frame reader take it apart and tells what it found.
#include "tools/proof/proof_records.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include "tools/frame/frame_reader.h"
#include "tools/frame/setting_reader.h"
#include "tools/proof/drawing.h"
#include "tools/proof/png_writer.h"

namespace kestra::proof {
namespace {

// The label printer's head at 203 dots per inch; the other resolutions and the stencil printer have
// more dots.
constexpr std::size_t kLabelHeadDots = 832;
constexpr unsigned kLowDpi = 203;
constexpr unsigned kHighDpi = 300;

// A frame does not hold its resolution: it is given, stands for the model, or follows from a width
// that the label printer's head has only at the higher one. `note` says so.
unsigned frameDpi(const PageFrame& frame, const Arguments& arguments, std::string& note) {
  if (arguments.dpiGiven) return static_cast<unsigned>(arguments.dpi);
  if (!arguments.model.empty()) return arguments.model == "stencil" ? kHighDpi : kLowDpi;
  if (frame.drawnWidth() <= kLabelHeadDots) return kLowDpi;
  note = "taken for 300 dpi, as no head of 203 dpi for labels is so wide; --dpi says otherwise";
  return kHighDpi;
}

void drawFrame(const std::string& path, const PageFrame& frame, const Arguments& arguments,
               WriteGuard& guard, Teller& teller) {
  std::unique_ptr<Drawing> drawing = std::make_unique<PageDrawing>(frame, 0);
  if (arguments.margins) drawing = std::make_unique<MarginDrawing>(frame, 0, 0);
  PageReport report;
  // A frame's other endings are part of its name: only .dat is replaced.
  const bool isData = path.size() > 4 && path.compare(path.size() - 4, 4, ".dat") == 0;
  const std::string name = std::filesystem::path(path).filename();
  report.picture = picturePath(arguments, isData ? stem(path) : name);
  report.width = drawing->width() * arguments.scale;
  report.height = drawing->height() * arguments.scale;
  const unsigned dpi = frameDpi(frame, arguments, report.note);
  report.dpi = {dpi, dpi};
  report.frame = &frame;
  report.pageDots = std::uint64_t{labelWidth(frame, 0)} * frame.rowCount;
  for (std::size_t y = 0; y < frame.rowCount; ++y) {
    report.blackDots += countBlackDots(frame.row(y).dots);
  }
  Result<void> written = guard.mayWrite(report.picture, path);
  if (written) {
    written = writePng(report.picture, *drawing, {report.dpi, arguments.scale, kProgram, name});
  }
  if (!written) {
    teller.complain(written.problem());
    return;
  }
  guard.wrote(report.picture);
  teller.page(report);
}

}  // namespace

void proofFrame(const std::string& path, const Arguments& arguments, WriteGuard& guard,
                Teller& teller) {
  teller.begin({path, "page frame", "", "", {}});
  Result<std::vector<std::uint8_t>> bytes = readFile(path);
  if (!bytes) {
    teller.complain(bytes.problem());
  } else {
    const Result<PageFrame> parsed = parsePageFrame(std::move(*bytes));
    if (parsed) {
      drawFrame(path, *parsed, arguments, guard, teller);
    } else {
      teller.complain(parsed.problem());
    }
  }
  teller.end({});
}

void proofCounter(const std::string& path, Teller& teller) {
  teller.begin({path, "page counter", "", "", {}});
  const Result<std::vector<std::uint8_t>> bytes = readFile(path);
  if (!bytes) {
    teller.complain(bytes.problem());
  } else if (const Result<std::uint16_t> parsed = parsePageCounter(*bytes)) {
    teller.counter(*parsed);
  } else {
    teller.complain(parsed.problem());
  }
  teller.end({});
}

void proofCommands(const std::string& path, Teller& teller) {
  teller.begin({path, "print-setting commands", "", "", {}});
  const Result<std::vector<std::uint8_t>> bytes = readFile(path);
  if (!bytes) {
    teller.complain(bytes.problem());
  } else {
    const ParsedSettings parsed = parsePrintSettings(*bytes);
    teller.commands(parsed.settings);
    if (!parsed.problem.empty()) teller.complain(parsed.problem);
  }
  teller.end({});
}

}  // namespace kestra::proof
