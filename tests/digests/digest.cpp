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

std::string Text(const plain::Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

// "dithered_#_12.bmp" -> 12
long ImageNumber(const std::string& maskedName) {
  return std::atol(maskedName.c_str() + maskedName.rfind('_') + 1);
}

void AddFiles(Digest& digest, const std::string& tag, const Files& files) {
  digest.Add(tag + std::to_string(files.size()));
  for (const auto& [name, bytes] : files) {
    digest.Add(name);
    digest.Add(bytes);
  }
}

std::string Fold(const Leavings& leavings) {
  Digest digest;
  digest.Add("status " + std::to_string(leavings.status));
  digest.Add(leavings.output);
  AddFiles(digest, "frames ", leavings.frames);
  AddFiles(digest, "counters ", leavings.counters);
  digest.Add("images " + std::to_string(leavings.images.size()));
  for (const auto& [number, image] : leavings.images) {
    digest.Add(image.first);
    digest.Add(image.second);
  }
  AddFiles(digest, "side file ", leavings.sideFile);
  return digest.Text();
}

}  // namespace

std::uint64_t Fnv1a(const std::string& bytes, std::uint64_t before) {
  std::uint64_t value = before;
  for (const char c : bytes) {
    value ^= static_cast<unsigned char>(c);
    value *= 0x100000001B3ULL;
  }
  return value;
}

void Digest::Add(const std::string& piece) {
  std::string length;
  for (std::size_t rest = piece.size(), i = 0; i < 8; ++i, rest /= 256) {
    length += static_cast<char>(rest % 256);
  }
  value_ = Fnv1a(piece, Fnv1a(length, value_));
}

std::string Digest::Text() const {
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(value_));
  return text;
}

std::string DigestOf(const plain::Outcome& outcome) {
  Leavings leavings;
  leavings.status = outcome.status;
  leavings.output = Text(outcome.output);
  for (const auto& [name, bytes] : outcome.frames) leavings.frames[name] = Text(bytes);
  if (outcome.marker) leavings.counters[outcome.markerName] = Text(*outcome.marker);
  for (const auto& image : outcome.debugImages) {
    leavings.images[ImageNumber(image.name)] = {image.name, Text(image.bytes)};
  }
  if (outcome.sideFile) leavings.sideFile["xxxxx.log"] = *outcome.sideFile;
  return Fold(leavings);
}

std::string DigestOf(const ts::Result& result) {
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
      const std::string masked = ts::MaskImageName(name);
      leavings.images[ImageNumber(masked)] = {masked, bytes};
    } else if (name == "xxxxx.log") {
      leavings.sideFile[name] = bytes;
    }
  }
  return Fold(leavings);
}

}  // namespace kestra::digests
