// Writes the findings as they come, page by page.
//
// The lines of both streams stay in the order of the inputs, and the progress bar is wiped before
// each of them.
#include "tools/proof/teller.h"

#include <cstdio>

#include "tools/proof/drawing.h"
#include "tools/proof/report.h"

namespace kestra::proof {
namespace {

constexpr double kMmPerInch = 25.4;

const char* mediaName(Media media) {
  switch (media) {
    case Media::kContinuous:
      return "continuous";
    case Media::kGaps:
      return "gaps";
    case Media::kMarks:
      return "marks";
  }
  return "unknown";
}

double coverage(std::uint64_t black, std::uint64_t dots) {
  return dots == 0 ? 0 : static_cast<double>(black) / static_cast<double>(dots);
}

}  // namespace

Teller::Teller(const Arguments& arguments)
    : jsonOn_(arguments.json),
      wordsOn_(!arguments.json && !arguments.quiet),
      verbose_(arguments.verbose),
      progress_(!arguments.quiet) {
  if (!jsonOn_) return;
  json_.object().name("program").string("kestra-proof").name("version").string(KESTRA_VERSION);
  json_.name("documents").array();
}

void Teller::say(const std::string& text) {
  progress_.clear();
  std::fwrite(text.data(), 1, text.size(), stdout);
}

void Teller::sayError(const std::string& text) {
  progress_.clear();
  std::fflush(stdout);
  std::fprintf(stderr, "kestra-proof: %s\n", text.c_str());
}

void Teller::begin(const DocumentReport& document) {
  path_ = document.path;
  warnings_.clear();
  errors_.clear();
  if (!jsonOn_) return;
  json_.object().name("document").string(document.path).name("type").string(document.type);
  if (!document.model.empty()) json_.name("model").string(document.model);
  if (!document.ppd.empty()) {
    json_.name("ppd").string(document.ppd).name("options").object();
    for (const auto& [name, value] : document.options) json_.name(name.c_str()).string(value);
    json_.endObject();
  }
  json_.name("pages").array();
}

void Teller::page(const PageReport& page) {
  if (wordsOn_) words(page);
  if (jsonOn_) pageJson(page);
  for (const std::string& warning : page.warnings) {
    warn((page.number > 0 ? "page " + std::to_string(page.number) + " " : std::string()) + warning);
  }
}

void Teller::words(const PageReport& page) {
  std::string text = path_;
  if (page.number > 0) text += ": page " + std::to_string(page.number);
  text += ":\n";
  if (page.frame != nullptr) {
    text += describeFrame(*page.frame, {page.framePageDots, page.dpi, page.number == 0, verbose_});
  }
  if (!page.note.empty()) text += "  note:         " + page.note + "\n";
  for (const TileReport& tile : page.tiles) {
    text += "  " + tile.halftone + ":" + std::string(18 - tile.halftone.size(), ' ') +
            std::to_string(tile.blackDots) + " black dots, " +
            percent(tile.blackDots, page.pageDots) + "\n";
  }
  if (page.part) {
    const DotRectangle& part = *page.part;
    text += "  shown:        " + mm(part.width, page.dpi[0]) + " x " +
            mm(part.height, page.dpi[1]) + " mm from " + mm(part.x, page.dpi[0]) + ", " +
            mm(part.y, page.dpi[1]) + " mm; --detail shows another place\n";
  }
  if (page.setting) {
    text += "  printed with: " + describe(*page.setting) +
            (verbose_ ? " (" + describeCodes(*page.setting) + ")" : "") + "\n";
  }
  text += "  picture:      " + page.picture + ", " + std::to_string(page.width) + " x " +
          std::to_string(page.height) + " pixels\n";
  say(text);
}

void Teller::pageJson(const PageReport& page) {
  json_.object();
  if (page.number > 0) json_.name("page").number(page.number);
  json_.name("file").string(page.picture);
  json_.name("width").number(page.width).name("height").number(page.height);
  json_.name("dpi").array().number(page.dpi[0]).number(page.dpi[1]).endArray();
  if (page.frame != nullptr) {
    const PageFrame& frame = *page.frame;
    const auto width = static_cast<double>(labelWidth(frame, page.framePageDots));
    const double height = frame.rowCount;
    json_.name("label_dots").array().fraction(width, 0).fraction(height, 0).endArray();
    json_.name("millimetres").array();
    json_.fraction(width * kMmPerInch / page.dpi[0], 2);
    json_.fraction(height * kMmPerInch / page.dpi[1], 2).endArray();
    json_.name("announced_dots").array();
    json_.number(frame.widthDots).number(frame.heightDots).endArray();
    json_.name("rows").number(frame.rowCount);
    json_.name("margin_dots").number(frame.marginBytes() * 8);
    json_.name("media").string(mediaName(frame.media));
    json_.name("gap_dots").number(frame.gapDots);
    json_.name("page_number").number(frame.pageNumber);
    json_.name("wrong_counts").number(rowsWithWrongCount(frame).size());
    json_.name("black_dots").number(page.blackDots);
    json_.name("coverage").fraction(coverage(page.blackDots, page.pageDots), 6);
  }
  if (page.setting) {
    json_.name("speed_code").number(page.setting->speedCode);
    json_.name("darkness").number(page.setting->darkness);
  }
  if (page.part) {
    json_.name("part_dots").array().number(page.part->x).number(page.part->y);
    json_.number(page.part->width).number(page.part->height).endArray();
  }
  if (!page.tiles.empty()) {
    json_.name("halftones").array();
    for (const TileReport& tile : page.tiles) {
      json_.object().name("halftone").string(tile.halftone);
      json_.name("x").number(tile.x).name("y").number(tile.y);
      json_.name("width").number(tile.width).name("height").number(tile.height);
      json_.name("black_dots").number(tile.blackDots);
      json_.name("coverage").fraction(coverage(tile.blackDots, page.pageDots), 6).endObject();
    }
    json_.endArray();
  }
  json_.name("warnings").strings(page.warnings).endObject();
  say(json_.take());
}

void Teller::counter(unsigned nextPage) {
  if (wordsOn_) {
    say(path_ + ": the next page gets the number " + std::to_string(nextPage) + "\n");
  }
  if (jsonOn_) json_.object().name("next_page_number").number(nextPage).endObject();
}

void Teller::commands(const std::vector<SentSetting>& settings) {
  std::size_t number = 0;
  for (const SentSetting& setting : settings) {
    ++number;
    if (wordsOn_) {
      say(path_ + ": command " + std::to_string(number) + ": " + describe(setting) + " (" +
          describeCodes(setting) + ")\n");
    }
    if (jsonOn_) {
      json_.object().name("speed_code").number(setting.speedCode);
      json_.name("darkness").number(setting.darkness).endObject();
    }
  }
}

void Teller::note(const std::string& sentence) {
  if (wordsOn_) say(path_ + ": " + sentence + "\n");
}

void Teller::warn(const std::string& sentence) {
  warnings_.push_back(sentence);
  sayError("warning: " + path_ + ": " + sentence);
}

void Teller::complain(const std::string& problem) {
  well_ = false;
  errors_.push_back(problem);
  sayError(path_ + ": " + problem);
}

void Teller::end(const std::vector<std::string>& logErrors) {
  for (const std::string& error : logErrors) sayError(path_ + ": the filter says: " + error);
  if (!jsonOn_) return;
  json_.endArray();
  json_.name("warnings").strings(warnings_);
  json_.name("log_errors").strings(logErrors);
  json_.name("errors").strings(errors_).endObject();
  say(json_.take());
}

bool Teller::finish() {
  progress_.clear();
  if (jsonOn_) {
    json_.endArray().name("ok").boolean(well_).endObject();
    say(json_.take() + "\n");
  }
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    sayError("standard output: cannot be written");
    well_ = false;
  }
  return well_;
}

}  // namespace kestra::proof
