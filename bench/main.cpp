// Measures the stages of a page one by one: the program behind the first half of ./bench.sh.
#include <benchmark/benchmark.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <system_error>

#include "bench/stages.h"
#include "imaging/kernels/cpu.h"

namespace kestra::bench {

const std::vector<std::uint8_t>& a4Page(const std::string& kind) {
  static std::map<std::string, std::vector<std::uint8_t>> pages;
  std::vector<std::uint8_t>& page = pages[kind];
  if (page.empty()) page = makePage(kind, kA4Width, kA4Height);
  return page;
}

void registerStage(const std::string& name, const std::vector<std::string>& kinds,
                   const Stage& stage) {
  for (const std::string& kind : kinds) {
    for (const KernelVersion version : kernelVersions()) {
      std::string fullName = name;
      fullName.append("/").append(kind).append("/").append(kernelVersionName(version));
      const auto run = [=](benchmark::State& state) {
        const std::vector<std::uint8_t>& page = a4Page(kind);
        forceKernelVersion(version);
        stage(state, page);
      };
      benchmark::RegisterBenchmark(fullName.c_str(), run);
    }
  }
}

namespace {

// What the memory itself can do, in this very run: a copy of the page into memory that is already
// there.
void registerYardstick() {
  const auto copy = [](benchmark::State& state) {
    const std::vector<std::uint8_t>& from = a4Page("photo");
    std::vector<std::uint8_t> to(from.size(), 2);
    while (state.KeepRunning()) {
      benchmark::DoNotOptimize(std::memcpy(to.data(), from.data(), from.size()));
      benchmark::ClobberMemory();
    }
  };
  benchmark::RegisterBenchmark("memcpy page", copy);
}

}  // namespace
}  // namespace kestra::bench

int main(int argc, char* argv[]) {
  // Debug images are written below the current directory, which ./bench.sh makes for that.
  std::error_code error;
  std::filesystem::create_directories("var/spool/cups/tmp", error);
  kestra::bench::registerYardstick();
  kestra::bench::registerImageStages();
  kestra::bench::registerStencilStages();
  kestra::bench::registerPrinterStages();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
