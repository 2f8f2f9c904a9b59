// Writes a line for every connection, label and fault.
//
// Times are those of the read that brought a byte, so that a picture that takes long to write does
// not make a label late.
#include "tools/paper/recorder.h"

#include <array>
#include <cstdio>

namespace kestra::paper {
namespace {

constexpr std::uint64_t kCommandBytes = 7;
constexpr double kMillimetresPerInch = 25.4;

std::string pictureName(std::uint64_t number) {
  std::array<char, 40> name = {};
  std::snprintf(name.data(), name.size(), "label-%04llu.png",
                static_cast<unsigned long long>(number));
  return name.data();
}

std::string decimal(double value) {
  std::array<char, 40> text = {};
  std::snprintf(text.data(), text.size(), "%.1f", value);
  return text.data();
}

std::string inWords(const LabelHead& head, unsigned dpi) {
  const double mm = kMillimetresPerInch / dpi;
  return std::to_string(head.width) + " x " + std::to_string(head.height) + " dots (" +
         decimal(head.width * mm) + " x " + decimal(head.height * mm) + " mm), page " +
         std::to_string(head.page);
}

}  // namespace

void Recorder::opened() {
  ++counters_.connections;
  connectionBytes_ = 0;
  journal_.line(JsonLine("connection", wallClock())
                    .number("connection", counters_.connections)
                    .text("what", "opened"));
  journal_.say("connection " + std::to_string(counters_.connections) + " opened");
}

void Recorder::closed(const char* how, std::uint64_t unread) {
  journal_.line(JsonLine("connection", wallClock())
                    .number("connection", counters_.connections)
                    .text("what", "closed")
                    .text("how", how)
                    .number("bytes", connectionBytes_)
                    .number("unread", unread));
  journal_.say("connection " + std::to_string(counters_.connections) + " closed (" + how +
               ") after " + std::to_string(connectionBytes_) + " bytes");
}

void Recorder::read(std::size_t bytes) {
  now_ = wallClock();
  counters_.bytes += bytes;
  connectionBytes_ += bytes;
  cut_ = "fault";  // a label that is torn while bytes are parsed met a wrong one
}

void Recorder::labelBegins(std::uint64_t offset) {
  underWay_ = true;
  offset_ = offset;
  first_ = now_;
  frameBytes_ = 0;
  setting_.reset();
  head_.reset();
  digest_ = LabelDigest();
  picture_.begin(0, 0);
  rows_ = 0;
  wrongRows_ = 0;
  whiteTail_ = 0;
}

void Recorder::head(const LabelHead& head) {
  head_ = head;
  picture_.begin(head.record, head.rows);
}

void Recorder::frameBytes(const std::uint8_t* data, std::size_t size) {
  digest_.add(data, size);
  frameBytes_ += size;
  if (head_ && !folder_.empty()) picture_.add(data, size);
}

void Recorder::row(bool countAgrees, bool isWhite) {
  ++rows_;
  if (!countAgrees) ++wrongRows_;
  whiteTail_ = isWhite ? whiteTail_ + 1 : 0;
}

// The picture's name, or nothing where there is none.
std::string Recorder::draw(std::uint64_t number) {
  if (folder_.empty() || !picture_.hasRows()) return {};
  std::string name = pictureName(number);
  const Result<void> written = picture_.write(folder_ + "/" + name, dpi_);
  if (written) return name;
  journal_.complain("label " + std::to_string(number) + " has no picture: " + written.problem());
  return {};
}

void Recorder::labelEnds(bool whole) {
  const std::uint64_t number = begun();
  underWay_ = false;
  ++(whole ? counters_.whole : counters_.torn);
  const std::string digest = digest_.take();
  if (whole) {
    came_.push_back(digest);
    cameNumbers_.push_back(number);
  }
  const std::string picture = draw(number);

  JsonLine line("label", now_);
  line.number("number", number).boolean("whole", whole);
  line.time("first", first_).time("last", now_);
  line.number("connection", counters_.connections).number("offset", offset_);
  line.number("bytes", frameBytes_ + (setting_ ? kCommandBytes : 0));
  if (setting_) {
    line.number("speed", setting_->speedCode).number("darkness", setting_->darkness);
  } else {
    line.null("speed").null("darkness");
  }
  if (head_) {
    line.number("media", head_->media).number("width", head_->width);
    line.number("height", head_->height).number("gap", head_->gap).number("page", head_->page);
    line.number("record", head_->record).number("rows", head_->rows);
  } else {
    for (const char* name : {"media", "width", "height", "gap", "page", "record", "rows"}) {
      line.null(name);
    }
  }
  line.number("rows_came", rows_).number("wrong_rows", wrongRows_).number("white_tail", whiteTail_);
  if (whole) {
    line.text("digest", digest).null("cut");
  } else {
    line.null("digest").text("cut", cut_);
  }
  if (picture.empty()) {
    line.null("png");
  } else {
    line.text("png", picture);
  }
  journal_.line(line);

  std::string words = "label " + std::to_string(number) + ": ";
  words += head_ ? inWords(*head_, dpi_) : "no size came";
  words += whole ? ", whole" : ", TORN after " + std::to_string(rows_) + " rows (" + cut_ + ")";
  if (!picture.empty()) words += ", " + folder_ + "/" + picture;
  journal_.say(words);
  picture_.begin(0, 0);
}

void Recorder::fault(const Fault& fault) {
  ++counters_.faults;
  journal_.line(JsonLine("fault", wallClock())
                    .number("connection", counters_.connections)
                    .number("label", begun())
                    .number("offset", fault.offset)
                    .text("came", fault.came)
                    .text("expected", fault.expected));
  journal_.say("FAULT at byte " + std::to_string(fault.offset) + " of connection " +
               std::to_string(counters_.connections) + ": came " + fault.came + ", expected " +
               fault.expected);
}

void Recorder::garbageEnds(std::uint64_t offset, std::uint64_t garbage) {
  counters_.garbage += garbage;
  journal_.line(JsonLine("garbage", wallClock())
                    .number("connection", counters_.connections)
                    .number("offset", offset)
                    .number("bytes", garbage));
  if (garbage > 0) journal_.say(std::to_string(garbage) + " bytes of garbage");
}

}  // namespace kestra::paper
