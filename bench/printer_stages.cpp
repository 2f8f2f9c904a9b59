// Stages behind the halftone: dots packed into bits, row records with their dot counts, and the
// debug images, whose writing is as much work as a halftone.
#include <algorithm>
#include <filesystem>

#include "bench/stages.h"
#include "imaging/kernels/dots.h"
#include "printer/kestra_printer.h"
#include "printer/page_frame.h"

namespace kestra::bench {
namespace {

constexpr std::size_t kRowBytes = kA4Width / 8;

// Packing works in place, so each round gets the page anew.
void pack(benchmark::State& state, const std::vector<std::uint8_t>& page) {
  KestraPrinter printer;
  std::vector<std::uint8_t> pixels(page.size());
  while (state.KeepRunning()) {
    {
      const Untimed span(&state);
      std::copy(page.begin(), page.end(), pixels.begin());
    }
    benchmark::DoNotOptimize(printer.GrayToMono(kA4Width, kA4Height, pixels.data()));
    benchmark::ClobberMemory();
  }
}

void count(benchmark::State& state, const std::vector<std::uint8_t>& page) {
  std::vector<std::uint8_t> dots = page;
  KestraPrinter printer;
  printer.GrayToMono(kA4Width, kA4Height, dots.data());
  while (state.KeepRunning()) {
    for (std::size_t y = 0; y < kA4Height; ++y) {
      benchmark::DoNotOptimize(countDots(dots.data() + y * kRowBytes, kRowBytes));
    }
  }
}

// The records of packed rows, each with the count of its dots; the page is as wide as the head.
void writeRecords(benchmark::State& state, const std::vector<std::uint8_t>& page) {
  std::vector<std::uint8_t> dots = page;
  KestraPrinter printer;
  printer.GrayToMono(kA4Width, kA4Height, dots.data());
  const RowRecords records = rowRecords(static_cast<std::int64_t>(kRowBytes * kA4Height),
                                        {kA4Width, kA4Height}, static_cast<float>(kA4Width));
  std::vector<std::uint8_t> out(static_cast<std::size_t>(records.total));
  while (state.KeepRunning()) {
    writeRowRecords(records, dots.data(), kA4Height, out.data());
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
}

// Written below the current directory; files are removed outside the measured time.
void debugImage(benchmark::State& state, const std::vector<std::uint8_t>& page) {
  KestraPrinter printer;
  while (state.KeepRunning()) {
    printer.saveImage(page.data(), kA4Width, kA4Height, kA4Width, 8);
    const Untimed span(&state);
    for (const auto& entry : std::filesystem::directory_iterator("var/spool/cups/tmp")) {
      std::filesystem::remove(entry.path());
    }
  }
}

}  // namespace

void registerPrinterStages() {
  registerStage("GrayToMono", {"photo", "blank"}, pack);
  registerStage("dot counts", {"photo"}, count);
  registerStage("row records", {"photo"}, writeRecords);
  registerStage("debug image", {"photo"}, debugImage);
}

}  // namespace kestra::bench
