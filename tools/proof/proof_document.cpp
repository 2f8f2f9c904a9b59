// One document: its pages in one halftone each, or in all ten on a sheet.
//
// The picture of a page is made from its frame alone; the rendered page is only asked what the
// print should have looked like.
#include "tools/proof/proof_document.h"

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include "tools/proof/detail.h"
#include "tools/proof/drawing.h"
#include "tools/proof/halftones.h"
#include "tools/proof/png_chunks.h"
#include "tools/proof/png_writer.h"
#include "tools/proof/sheet.h"
#include "tools/proof/warnings.h"
#include "tools/render/print_document.h"

namespace kestra::proof {
namespace {

std::uint64_t blackDots(const PageFrame& frame) {
  std::uint64_t black = 0;
  for (std::size_t y = 0; y < frame.rowCount; ++y) black += countBlackDots(frame.row(y).dots);
  return black;
}

class DocumentProof {
 public:
  DocumentProof(std::string path, DocumentType type, const Arguments& arguments,
                const Printer& printer, WriteGuard& guard, Teller& teller)
      : path_(std::move(path)),
        type_(type),
        arguments_(arguments),
        printer_(printer),
        guard_(guard),
        teller_(teller) {}

  void run(const std::string& keep) {
    teller_.begin(
        {path_, typeWords(type_), printer_.model, printer_.ppd, printer_.options.given()});
    if (type_ == DocumentType::kImage && isTransparent(chunksBeforePixels(path_))) {
      teller_.warn(
          "has transparent places; the print system draws their rims wrong, in line art often "
          "double "
          "and hatched: make a PDF of it (img2pdf) and print that");
    }
    if (type_ == DocumentType::kImage && !printer_.options.givenValue("Brightness").empty()) {
      teller_.warn(
          "Brightness is also the print system's own option for pictures, in per cent, and can "
          "turn "
          "them black; convert the picture to PDF (img2pdf) and print that");
    }
    PrintResult result;
    PrintRequest request;
    if (fill(request, keep)) {
      const PageTaker take = [this](PrintedPage&& page) { return takePage(page); };
      const ProgressTaker progress = [this](const Progress& now) {
        teller_.progress().show(path_, now.pages, now.expected);
      };
      result = printDocument(request, take, progress);
      if (!result.problem.empty()) {
        teller_.complain(result.problem);
      } else if (pages_ > 0 && !anything_ && type_ != DocumentType::kRaster) {
        teller_.complain(result.damaged
                             ? "is a broken PDF, and nothing of it can be drawn; fetch or make it "
                               "once more"
                             : "nothing is drawn on any of its pages; is it the right document, "
                               "and is it whole?");
      } else if (result.damaged) {
        teller_.warn("is a damaged PDF that could be repaired; something may be missing");
      }
    }
    teller_.end(result.logErrors);
  }

 private:
  bool fill(PrintRequest& request, const std::string& keep) {
    request.document = std::filesystem::absolute(path_).string();
    request.type = type_;
    request.ppd = printer_.ppd;
    request.options = printer_.options.text();
    request.copies = printer_.options.copies();
    request.keep = keep;
    if (!keep.empty() && !makeKeepPlace(keep)) return false;
    if (!arguments_.compare) return true;
    request.jobs.clear();
    request.keepNames.clear();
    for (const Halftone& halftone : kHalftones) {
      request.jobs.push_back(std::string("HalftoneType=") + halftone.keyword);
      request.keepNames.push_back(std::string("/") + halftone.keyword);
      if (!keep.empty() && !makeKeepPlace(keep + request.keepNames.back())) return false;
    }
    return true;
  }

  bool makeKeepPlace(const std::string& path) {
    const Result<void> made = makeNewDirectory(path);
    if (!made) teller_.complain(made.problem());
    return bool(made);
  }

  bool fail(const PrintedPage& page, const std::string& problem) {
    teller_.complain("page " + std::to_string(page.number) + ": " + problem);
    return false;
  }

  // The frames of all prints of a page; false where one is missing or broken.
  bool parse(PrintedPage& page, std::vector<PageFrame>& frames) {
    for (std::vector<std::uint8_t>& bytes : page.frames) {
      if (bytes.empty()) {
        return fail(page,
                    page.content.readable
                        ? "the filter stored no frame; is the page wider than the print head?"
                        : "its pixels break off, so it is not printed; is the document whole?");
      }
      Result<PageFrame> parsed = parsePageFrame(std::move(bytes));
      if (!parsed) return fail(page, "the filter's frame is broken: " + parsed.problem());
      frames.push_back(std::move(*parsed));
    }
    return true;
  }

  std::unique_ptr<Drawing> draw(const PageFrame& frame, const PageContent& content) const {
    if (arguments_.margins) {
      return std::make_unique<MarginDrawing>(frame, content.width,
                                             printer_.options.headDots(content.dpi[0]));
    }
    return std::make_unique<PageDrawing>(frame, content.width);
  }

  PageFacts facts(const PrintedPage& page, const PageFrame& frame,
                  const std::string& halftone) const {
    PageFacts facts;
    facts.content = page.content;
    facts.blackDots = blackDots(frame);
    facts.halftone = halftone;
    facts.brightness =
        static_cast<int>(std::strtol(printer_.options.choice("Brightness").c_str(), nullptr, 10));
    facts.negative = printer_.options.choice("NegativeImage") == "True";
    facts.type = type_;
    facts.fit = page.fit;
    facts.scale = page.scale;
    facts.scaledBy = printer_.options.scalingOption();
    facts.headDots = printer_.options.headDots(page.content.dpi[0]);
    facts.overlapping = frame.widerThanHead();
    return facts;
  }

  // Returns whether the print may go on.
  bool takePage(PrintedPage& page) {
    if (!arguments_.output.empty() && page.number > 1) {
      return fail(page, "there are more pages than the one in " + arguments_.output +
                            "; use --output-dir DIR, or -o page-ranges=1");
    }
    ++pages_;
    if (page.content.inkedPixels > 0) anything_ = true;
    std::vector<PageFrame> frames;
    if (!parse(page, frames)) return true;
    PageReport report;
    report.number = page.number;
    report.dpi = page.content.dpi;
    report.pageDots = page.content.pixels();
    std::unique_ptr<Drawing> drawing;
    if (arguments_.compare) {
      drawing = compare(page, frames, report);
      if (!drawing) {
        return fail(page, "the place that --detail names lies beside the page of " +
                              std::to_string(page.content.width) + " x " +
                              std::to_string(page.content.height) + " dots");
      }
    } else {
      report.frame = &frames.front();
      report.framePageDots = page.content.width;
      const PageFacts found = facts(page, frames.front(), printer_.options.choice("HalftoneType"));
      report.blackDots = found.blackDots;
      report.warnings = dotWarnings(found);
      const ParsedSettings settings = parsePrintSettings(page.command);
      if (settings.settings.size() == 1) report.setting = settings.settings.front();
      drawing = draw(frames.front(), page.content);
    }
    for (std::string& warning : sizeWarnings(facts(page, frames.front(), ""))) {
      report.warnings.push_back(std::move(warning));
    }
    return write(page, *drawing, report);
  }

  std::unique_ptr<Drawing> compare(const PrintedPage& page, const std::vector<PageFrame>& frames,
                                   PageReport& report) const {
    const std::optional<DotRectangle> part =
        detailOf(arguments_.detail.value_or(Detail()), page.content.width, page.content.height,
                 page.content.dpi);
    if (!part) return nullptr;
    const bool whole = part->width == page.content.width && part->height == page.content.height;
    if (!whole) report.part = part;
    std::vector<Tile> tiles;
    for (std::size_t i = 0; i < frames.size(); ++i) {
      const Halftone& halftone = kHalftones[i];
      const PageFacts found = facts(page, frames[i], halftone.keyword);
      for (const std::string& warning : dotWarnings(found)) {
        report.warnings.push_back("with HalftoneType=" + std::string(halftone.keyword) + " " +
                                  warning);
      }
      TileReport tile;
      tile.halftone = halftone.keyword;
      tile.blackDots = found.blackDots;
      report.tiles.push_back(tile);
      std::unique_ptr<Drawing> drawing = draw(frames[i], page.content);
      // What --margins draws around the label is the same for all: only whole labels have it.
      if (!whole) {
        drawing = std::make_unique<CutDrawing>(
            std::make_unique<PageDrawing>(frames[i], page.content.width), *part);
      }
      tiles.push_back({std::move(drawing), halftone.keyword, halftone.runs});
    }
    auto sheet = std::make_unique<Sheet>(std::move(tiles));
    for (std::size_t i = 0; i < frames.size(); ++i) {
      const Sheet::Place place = sheet->place(i);
      const Drawing& drawing = *sheet->tiles()[i].drawing;
      report.tiles[i].x = place.x * arguments_.scale;
      report.tiles[i].y = place.y * arguments_.scale;
      report.tiles[i].width = drawing.width() * arguments_.scale;
      report.tiles[i].height = drawing.height() * arguments_.scale;
    }
    return sheet;
  }

  bool write(const PrintedPage& page, const Drawing& drawing, PageReport& report) {
    report.picture =
        picturePath(arguments_, stem(path_) + (arguments_.compare ? "-compare-" : "-") +
                                    std::to_string(page.number));
    report.width = drawing.width() * arguments_.scale;
    report.height = drawing.height() * arguments_.scale;
    Result<void> written = guard_.mayWrite(report.picture, path_);
    if (written) {
      written = writePng(
          report.picture, drawing,
          {page.content.dpi, arguments_.scale, kProgram, std::filesystem::path(path_).filename()});
    }
    if (!written) return fail(page, written.problem());
    guard_.wrote(report.picture);
    teller_.page(report);
    return true;
  }

  std::string path_;
  DocumentType type_;
  const Arguments& arguments_;
  const Printer& printer_;
  WriteGuard& guard_;
  Teller& teller_;
  std::size_t pages_ = 0;
  bool anything_ = false;  // a page asked for ink
};

}  // namespace

void proofDocument(const std::string& path, DocumentType type, const Arguments& arguments,
                   const Printer& printer, const std::string& keep, WriteGuard& guard,
                   Teller& teller) {
  DocumentProof proof(path, type, arguments, printer, guard, teller);
  proof.run(keep);
}

}  // namespace kestra::proof
