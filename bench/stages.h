// The stages of a page as measurements: each is run on pages in memory, in every version of the
// inner loops that the processor has.
//
// A whole job tells how long a page takes; the stages tell where that time goes.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "bench/pages.h"

namespace kestra::bench {

/// An A4 page at 300 dpi: `kA4Width` x `kA4Height` grey bytes. Made at its first use, kept until
/// the program ends.
const std::vector<std::uint8_t>& a4Page(const std::string& kind);

/// Runs one stage on a page for as long as the state says.
using Stage = std::function<void(benchmark::State&, const std::vector<std::uint8_t>&)>;

/// Registers a stage as NAME/KIND/VERSION for each kind of page and each version of the loops.
void registerStage(const std::string& name, const std::vector<std::string>& kinds,
                   const Stage& stage);

/// A span that is no part of the stage: a fresh copy of the page to work on, files to remove.
class Untimed {
 public:
  explicit Untimed(benchmark::State* state) : state_(state) { state_->PauseTiming(); }
  ~Untimed() { state_->ResumeTiming(); }
  Untimed(const Untimed&) = delete;
  Untimed& operator=(const Untimed&) = delete;

 private:
  benchmark::State* state_;  // not owned
};

void registerImageStages();    ///< what is done to the page image (image_stages.cpp)
void registerStencilStages();  ///< the steps of the stencil chain (stencil_stages.cpp)
void registerPrinterStages();  ///< packing, records, debug images (printer_stages.cpp)

}  // namespace kestra::bench
