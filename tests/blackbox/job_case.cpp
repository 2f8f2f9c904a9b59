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

namespace ts = testing_support;

namespace {

constexpr char kNames[10][20] = {"None",   "FloydSteinberg",    "Ordered", "Burkes",
                                 "Stucki", "JarvisJudiceNinke", "Sierra",  "StevensonArce",
                                 "Tattoo", "Tattoo_V7"};
constexpr char kPpd[] = "tmp/test.ppd";
constexpr char kPages[] = "tmp/pages.ras";
const std::string kData = std::string(ts::kData) + "/";

std::string Text(const plain::Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

std::string StreamOf(const JobCase& job) {
  return job.stream ? *job.stream : ts::WriteStream(job.pages, job.compressed);
}

// Pages that are refused before their pixels are read.
bool PixelsAreRead(const cups_page_header2_t& h) {
  const std::uint64_t size = static_cast<std::uint64_t>(h.cupsBytesPerLine) * h.cupsHeight;
  return h.cupsBitsPerPixel == 8 && size > 0 && h.cupsBytesPerLine >= h.cupsWidth &&
         size < (1ULL << 29U);
}

std::string FirstDifference(const std::string& expected, const std::string& actual) {
  const auto pair = std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end());
  std::ostringstream out;
  out << "sizes " << expected.size() << " (wanted) and " << actual.size()
      << ", first difference at byte " << pair.first - expected.begin();
  if (pair.first != expected.end() && pair.second != actual.end()) {
    out << ": wanted " << (*pair.first & 255) << ", found " << (*pair.second & 255);
  }
  return out.str();
}

void ExpectSameFiles(const std::map<std::string, std::string>& expected,
                     const std::map<std::string, std::string>& actual) {
  for (const auto& [name, bytes] : expected) {
    const auto found = actual.find(name);
    if (found == actual.end()) {
      ADD_FAILURE() << "missing file " << name;
    } else if (found->second != bytes) {
      ADD_FAILURE() << name << ": " << FirstDifference(bytes, found->second);
    }
  }
  for (const auto& [name, bytes] : actual) {
    if (expected.count(name) == 0) ADD_FAILURE() << "unexpected file " << name;
  }
}

plain::Job ToPlainJob(const JobCase& job) {
  plain::Job result;
  result.jobId = job.jobId;
  result.queue = job.queue.value_or("");
  result.settings = job.settings;
  if (job.stream) {
    for (const auto& page : ts::Deliver(*job.stream, PixelsAreRead)) {
      result.pages.push_back({ToPlain(page.header), page.pixels, page.readable});
    }
  } else {
    for (const auto& page : job.pages) {
      result.pages.push_back({ToPlain(page.header), page.pixels, true});
    }
  }
  result.place = job.place;
  result.place.prefix = ts::Sandbox::Prefix();
  result.place.frameFiles = job.framesThere;
  if (job.marker) result.place.marker = plain::Bytes(job.marker->begin(), job.marker->end());
  return result;
}

}  // namespace

void JobCase::Choose(const std::string& keyword, const std::string& choice) {
  if (!options.empty()) options += ' ';
  options += keyword + "=" + choice;
}

void JobCase::Halftone(int number) {
  Choose("HalftoneType", HalftoneName(number));
  settings.halftone = number;
}

void JobCase::Brightness(int level) {
  Choose("Brightness", std::to_string(level));
  settings.brightness = level;
}

void JobCase::Mirror() {
  Choose("MirrorImage", "True");
  settings.mirrorImage = 1;
}

void JobCase::Negative() {
  Choose("NegativeImage", "True");
  settings.negativeImage = 1;
}

void JobCase::Barcode(int number) {
  Choose("VBarcodeDensity", std::to_string(number));
  settings.barcode = number;
}

void JobCase::AddPage(unsigned width, unsigned height, const std::string& picture,
                      unsigned bytesPerLine, unsigned dpi) {
  const unsigned line = bytesPerLine == 0 ? width : bytesPerLine;
  pages.push_back(
      {ts::MakeHeader(width, height, line, dpi), ts::MakePicture(picture, line, height)});
}

std::string HalftoneName(int number) { return kNames[number]; }

plain::Header ToPlain(const cups_page_header2_t& h) {
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

plain::Outcome Predict(const JobCase& job) {
  plain::Job plainJob = ToPlainJob(job);
  if (job.marker || !job.framesThere.empty()) plainJob.place.dataDirectoryThere = true;
  return plain::RunJob(plainJob);
}

ts::Run Prepare(const JobCase& job, ts::Sandbox& box) {
  box.Write(kPpd, job.ppd.Text());
  if (job.marker) box.Write(kData + plain::MarkerName(job.queue.value_or("")), *job.marker);
  for (const auto& name : job.framesThere) box.Write(kData + name, "earlier");
  ts::Run run;
  run.arguments = {job.jobId, "user", "title", "1", job.options};
  run.ppd = ts::Sandbox::Inside(kPpd);
  run.printer = job.queue;
  run.fileSizeLimit = job.fileSizeLimit;
  run.asNobody = job.asNobody;
  run.listener = job.listener;
  run.milestones = job.milestones;
  const std::string stream = StreamOf(job);
  if (job.fileArgument) {
    box.Write(kPages, stream);
    run.arguments.push_back(ts::Sandbox::Inside(kPages));
    run.input = ts::Input::kDevNull;
  } else {
    run.inputBytes = stream;
  }
  if (job.prepare) job.prepare(box);
  return run;
}

ts::Result RunFilter(const JobCase& job) {
  using Where = ts::Sandbox::Where;
  ts::Sandbox box(job.manyFiles ? Where::kMemory : Where::kCurrentDirectory);
  return box.Start(Prepare(job, box));
}

bool IsInput(const std::string& file) { return file == kPpd || file == kPages; }

ts::Result ExpectAsPlain(const JobCase& job) {
  const plain::Outcome expected = Predict(job);
  ts::Result result = RunFilter(job);

  std::map<std::string, std::string> files;
  for (const auto& [name, bytes] : expected.frames) files[kData + name] = Text(bytes);
  for (const auto& name : job.framesThere) files[kData + name] = "earlier";
  if (expected.marker) files[kData + expected.markerName] = Text(*expected.marker);
  for (const auto& image : expected.debugImages) {
    files[std::string(ts::kSpool) + "/" + image.name] = Text(image.bytes);
  }
  if (expected.sideFile) files["tmp/xxxxx.log"] = *expected.sideFile;
  std::map<std::string, std::string> found;
  for (const auto& [name, bytes] : result.files) {
    if (!IsInput(name)) found[ts::MaskImageName(name)] = bytes;
  }

  EXPECT_EQ(result.signal, 0);
  EXPECT_EQ(result.status, expected.status);
  if (job.listener == ts::Listener::kReads) {
    EXPECT_EQ(result.output, Text(expected.output));
  }
  EXPECT_EQ(ts::CompareLogs(expected.log, result.messages), "");
  ExpectSameFiles(files, found);
  return result;
}

std::string Image(const ts::Result& result, const std::string& maskedName) {
  for (const auto& [name, bytes] : result.files) {
    const std::string masked = ts::MaskImageName(name);
    if (masked == std::string(ts::kSpool) + "/" + maskedName) return bytes;
  }
  ADD_FAILURE() << "no image " << maskedName;
  return "";
}

std::string OnlyFrame(const ts::Result& result) {
  std::vector<std::string> frames;
  for (const auto& [name, bytes] : result.files) {
    if (name.find("/page_") != std::string::npos) frames.push_back(bytes);
  }
  EXPECT_EQ(frames.size(), 1U);
  return frames.size() == 1 ? frames[0] : "";
}

std::string Hex(const std::string& pairs) {
  std::istringstream in(pairs);
  std::string bytes;
  for (std::string pair; in >> pair;) bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
  return bytes;
}

}  // namespace kestra::blackbox
