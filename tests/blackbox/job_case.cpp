// Starts the filter for a described job and holds every byte against the plain version.
// Why: a difference is reported with the file and the first byte, so the rule can be found.
#include "tests/blackbox/job_case.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <sstream>

#include "tests/support/log_text.h"

namespace kestra::blackbox {

namespace {

constexpr char kNames[10][20] = {"None",   "FloydSteinberg",    "Ordered", "Burkes",
                                 "Stucki", "JarvisJudiceNinke", "Sierra",  "StevensonArce",
                                 "Tattoo", "Tattoo_V7"};
constexpr char kPpd[] = "tmp/test.ppd";
constexpr char kPages[] = "tmp/pages.ras";
const std::string kData = std::string(ts::kData) + "/";

std::string text(const plain::Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

std::string streamOf(const JobCase& job) {
  return job.stream ? *job.stream : ts::writeStream(job.pages, job.compressed);
}

// Pages that are refused before their pixels are read.
bool pixelsAreRead(const cups_page_header2_t& h) {
  const std::uint64_t size = static_cast<std::uint64_t>(h.cupsBytesPerLine) * h.cupsHeight;
  return h.cupsBitsPerPixel == 8 && size > 0 && h.cupsBytesPerLine >= h.cupsWidth &&
         size < (1ULL << 29U);
}

std::string firstDifference(const std::string& expected, const std::string& actual) {
  const auto pair = std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end());
  std::ostringstream out;
  out << "sizes " << expected.size() << " (wanted) and " << actual.size()
      << ", first difference at byte " << pair.first - expected.begin();
  if (pair.first != expected.end() && pair.second != actual.end()) {
    out << ": wanted " << (*pair.first & 255) << ", found " << (*pair.second & 255);
  }
  return out.str();
}

void expectSameFiles(const std::map<std::string, std::string>& expected,
                     const std::map<std::string, std::string>& actual) {
  for (const auto& [name, bytes] : expected) {
    const auto found = actual.find(name);
    if (found == actual.end()) {
      ADD_FAILURE() << "missing file " << name;
    } else if (found->second != bytes) {
      ADD_FAILURE() << name << ": " << firstDifference(bytes, found->second);
    }
  }
  for (const auto& [name, bytes] : actual) {
    if (expected.count(name) == 0) ADD_FAILURE() << "unexpected file " << name;
  }
}

plain::Job toPlainJob(const JobCase& job) {
  plain::Job result;
  result.jobId = job.jobId;
  result.queue = job.queue.value_or("");
  result.settings = job.settings;
  if (job.stream) {
    for (const auto& page : ts::deliver(*job.stream, pixelsAreRead)) {
      result.pages.push_back({toPlain(page.header), page.pixels, page.readable});
    }
  } else {
    for (const auto& page : job.pages) {
      result.pages.push_back({toPlain(page.header), page.pixels, true});
    }
  }
  result.place = job.place;
  result.place.prefix = ts::Sandbox::prefix();
  result.place.frameFiles = job.framesThere;
  if (job.marker) result.place.marker = plain::Bytes(job.marker->begin(), job.marker->end());
  return result;
}

}  // namespace

void JobCase::choose(const std::string& keyword, const std::string& choice) {
  if (!options.empty()) options += ' ';
  options += keyword + "=" + choice;
}

void JobCase::halftone(int number) {
  choose("HalftoneType", halftoneName(number));
  settings.halftone = number;
}

void JobCase::brightness(int level) {
  choose("Brightness", std::to_string(level));
  settings.brightness = level;
}

void JobCase::mirror() {
  choose("MirrorImage", "True");
  settings.mirrorImage = 1;
}

void JobCase::negative() {
  choose("NegativeImage", "True");
  settings.negativeImage = 1;
}

void JobCase::barcode(int number) {
  choose("VBarcodeDensity", std::to_string(number));
  settings.barcode = number;
}

void JobCase::mediaWidth(const std::string& points) {
  ppd.setMaxMediaWidth(points);
  settings.maxMediaPoints = points.empty() ? 0 : std::stod(points);
}

void JobCase::setPoints(double width, double length, double left, double bottom, double right,
                        double top) {
  const double values[6] = {width, length, left, bottom, right, top};
  for (int i = 0; i < 6; ++i) settings.points[i] = static_cast<float>(values[i]);
}

void JobCase::onlySize(const std::string& name, double width, double length) {
  ppd.setSizes(name, {{name, width, length}});
  settings.pageSize = name;
  setPoints(width, length, 0, 0, width, length);
}

void JobCase::addPage(unsigned width, unsigned height, const std::string& picture,
                      unsigned bytesPerLine, unsigned dpi) {
  const unsigned line = bytesPerLine == 0 ? width : bytesPerLine;
  pages.push_back(
      {ts::makeHeader(width, height, line, dpi), ts::makePicture(picture, line, height)});
}

void JobCase::addPixels(unsigned width, unsigned height, const ts::Pixels& pixels) {
  const auto line = static_cast<unsigned>(pixels.size() / height);
  pages.push_back({ts::makeHeader(width, height, line), pixels});
}

void JobCase::makeDataDirectory() {
  place.dataDirectoryThere = true;
  prepare = [](ts::Sandbox& box) { box.makeDirectory(ts::kData); };
}

JobCase onePage(unsigned width, unsigned height, const std::string& picture) {
  JobCase job;
  job.addPage(width, height, picture);
  return job;
}

std::string halftoneName(int number) { return kNames[number]; }

plain::Header toPlain(const cups_page_header2_t& h) {
  plain::Header p;
  p.width = h.cupsWidth;
  p.height = h.cupsHeight;
  p.bytesPerLine = h.cupsBytesPerLine;
  p.bitsPerPixel = h.cupsBitsPerPixel;
  p.bitsPerColor = h.cupsBitsPerColor;
  p.mediaType = h.cupsMediaType;
  // A damaged header holds values that the enumerations do not have.
  std::memcpy(&p.colorOrder, &h.cupsColorOrder, sizeof p.colorOrder);
  std::memcpy(&p.colorSpace, &h.cupsColorSpace, sizeof p.colorSpace);
  p.compression = h.cupsCompression;
  p.rowCount = h.cupsRowCount;
  p.rowFeed = h.cupsRowFeed;
  p.rowStep = h.cupsRowStep;
  p.copies = h.NumCopies;
  p.resolution[0] = h.HWResolution[0];
  p.resolution[1] = h.HWResolution[1];
  return p;
}

plain::Outcome predict(const JobCase& job) {
  plain::Job plainJob = toPlainJob(job);
  if (job.marker || !job.framesThere.empty()) plainJob.place.dataDirectoryThere = true;
  return plain::runJob(plainJob);
}

ts::Run prepare(const JobCase& job, ts::Sandbox& box) {
  box.write(kPpd, job.ppd.text());
  if (job.marker) box.write(kData + plain::markerName(job.queue.value_or("")), *job.marker);
  for (const auto& name : job.framesThere) box.write(kData + name, "earlier");
  ts::Run run;
  run.arguments = {job.jobId, "user", "title", "1", job.options};
  run.ppd = ts::Sandbox::inside(kPpd);
  run.printer = job.queue;
  run.fileSizeLimit = job.fileSizeLimit;
  run.asNobody = job.asNobody;
  run.listener = job.listener;
  run.milestones = job.milestones;
  const std::string stream = streamOf(job);
  if (job.fileArgument) {
    box.write(kPages, stream);
    run.arguments.push_back(ts::Sandbox::inside(kPages));
    run.input = ts::Input::kDevNull;
  } else {
    run.inputBytes = stream;
  }
  if (job.prepare) job.prepare(box);
  return run;
}

ts::Result runFilter(const JobCase& job) {
  using Where = ts::Sandbox::Where;
  ts::Sandbox box(job.manyFiles ? Where::kMemory : Where::kCurrentDirectory);
  return box.start(prepare(job, box));
}

bool isInput(const std::string& file) { return file == kPpd || file == kPages; }

ts::Result expectAsPlain(const JobCase& job) {
  const plain::Outcome expected = predict(job);
  ts::Result result = runFilter(job);

  std::map<std::string, std::string> files;
  for (const auto& [name, bytes] : expected.frames) files[kData + name] = text(bytes);
  for (const auto& name : job.framesThere) files[kData + name] = "earlier";
  if (expected.marker) files[kData + expected.markerName] = text(*expected.marker);
  for (const auto& image : expected.debugImages) {
    files[std::string(ts::kSpool) + "/" + image.name] = text(image.bytes);
  }
  if (expected.sideFile) files["tmp/xxxxx.log"] = *expected.sideFile;
  std::map<std::string, std::string> found;
  for (const auto& [name, bytes] : result.files) {
    if (!isInput(name)) found[ts::maskImageName(name)] = bytes;
  }

  EXPECT_EQ(result.signal, 0);
  EXPECT_EQ(result.status, expected.status);
  if (job.listener == ts::Listener::kReads) {
    EXPECT_EQ(result.output, text(expected.output));
  }
  EXPECT_EQ(ts::compareLogs(expected.log, result.messages), "");
  expectSameFiles(files, found);
  return result;
}

std::string imageNamed(const ts::Result& result, const std::string& maskedName) {
  for (const auto& [name, bytes] : result.files) {
    const std::string masked = ts::maskImageName(name);
    if (masked == std::string(ts::kSpool) + "/" + maskedName) return bytes;
  }
  ADD_FAILURE() << "no image " << maskedName;
  return "";
}

bool says(const ts::Result& result, const std::string& text) {
  return result.messages.find(text) != std::string::npos;
}

std::string counterOf(const ts::Result& result) { return result.files.at(kData + "label.pgc"); }

std::string frameOfPage(const ts::Result& result, int page) {
  return result.files.at(kData + "page_000" + std::to_string(page) + "_jobid_000042_0000.dat");
}

std::string onlyFrame(const ts::Result& result) {
  std::vector<std::string> frames;
  for (const auto& [name, bytes] : result.files) {
    if (name.find("/page_") != std::string::npos) frames.push_back(bytes);
  }
  EXPECT_EQ(frames.size(), 1U);
  return frames.size() == 1 ? frames[0] : "";
}

std::string frameOf(const JobCase& job) { return onlyFrame(expectAsPlain(job)); }

std::string hex(const std::string& pairs) {
  std::istringstream in(pairs);
  std::string bytes;
  for (std::string pair; in >> pair;) bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
  return bytes;
}

}  // namespace kestra::blackbox
