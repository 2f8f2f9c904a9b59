// Brings a predicted and a real outcome into the same form and folds it into a number.
// Why: the number may depend on nothing but the bytes of the job.
#include "tests/digests/digest.h"

#include <cstdio>
#include <cstdlib>
#include <map>

#include "tests/support/log_text.h"

namespace kestra::digests {

namespace {

namespace ts = testing_support;

using Files = std::map<std::string, std::string>;

struct Leavings {
  int status = 0;
  std::string output;
  Files frames;
  Files counters;
  std::map<long, std::pair<std::string, std::string>> images;  // number -> name, bytes
  Files sideFile;
};

std::string text(const plain::Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

// "dithered_#_12.bmp" -> 12
long imageNumber(const std::string& maskedName) {
  return std::atol(maskedName.c_str() + maskedName.rfind('_') + 1);
}

void addFiles(Digest& digest, const std::string& tag, const Files& files) {
  digest.add(tag + std::to_string(files.size()));
  for (const auto& [name, bytes] : files) {
    digest.add(name);
    digest.add(bytes);
  }
}

std::string fold(const Leavings& leavings) {
  Digest digest;
  digest.add("status " + std::to_string(leavings.status));
  digest.add(leavings.output);
  addFiles(digest, "frames ", leavings.frames);
  addFiles(digest, "counters ", leavings.counters);
  digest.add("images " + std::to_string(leavings.images.size()));
  for (const auto& [number, image] : leavings.images) {
    digest.add(image.first);
    digest.add(image.second);
  }
  addFiles(digest, "side file ", leavings.sideFile);
  return digest.text();
}

}  // namespace

std::uint64_t fnv1a(const std::string& bytes, std::uint64_t before) {
  std::uint64_t value = before;
  for (const char c : bytes) {
    value ^= static_cast<unsigned char>(c);
    value *= 0x100000001B3ULL;
  }
  return value;
}

void Digest::add(const std::string& piece) {
  std::string length;
  for (std::size_t rest = piece.size(), i = 0; i < 8; ++i, rest /= 256) {
    length += static_cast<char>(rest % 256);
  }
  value_ = fnv1a(piece, fnv1a(length, value_));
}

std::string Digest::text() const {
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(value_));
  return text;
}

std::string digestOf(const plain::Outcome& outcome) {
  Leavings leavings;
  leavings.status = outcome.status;
  leavings.output = text(outcome.output);
  for (const auto& [name, bytes] : outcome.frames) leavings.frames[name] = text(bytes);
  if (outcome.marker) leavings.counters[outcome.markerName] = text(*outcome.marker);
  for (const auto& image : outcome.debugImages) {
    leavings.images[imageNumber(image.name)] = {image.name, text(image.bytes)};
  }
  if (outcome.sideFile) leavings.sideFile["xxxxx.log"] = *outcome.sideFile;
  return fold(leavings);
}

std::string digestOf(const ts::Result& result) {
  Leavings leavings;
  leavings.status = result.status;
  leavings.output = result.output;
  for (const auto& [path, bytes] : result.files) {
    const std::string name = path.substr(path.rfind('/') + 1);
    const std::string folder = path.substr(0, path.rfind('/'));
    if (folder == ts::kData && name.size() > 4 && name.substr(name.size() - 4) == ".pgc") {
      leavings.counters[name] = bytes;
    } else if (folder == ts::kData) {
      leavings.frames[name] = bytes;
    } else if (folder == ts::kSpool) {
      const std::string masked = ts::maskImageName(name);
      leavings.images[imageNumber(masked)] = {masked, bytes};
    } else if (name == "xxxxx.log") {
      leavings.sideFile[name] = bytes;
    }
  }
  return fold(leavings);
}

}  // namespace kestra::digests
