// Stages of the page image: halftones by method, tone, geometry.
//
// A halftone turns the levels of its image into dots where they are, as in a job, so each round
// starts with a fresh image, made outside the measured time.
#include "bench/stages.h"
#include "imaging/paletteimage/palette_image.h"

namespace kestra::bench {
namespace {

bool makeImage(PaletteImage* image, const std::vector<std::uint8_t>& page) {
  return image->CreateFromArray(page.data(), kA4Width, kA4Height, 8, kA4Width, false);
}

void dither(benchmark::State& state, const std::vector<std::uint8_t>& page, std::int64_t method) {
  PaletteImage image;
  while (state.KeepRunning()) {
    {
      const Untimed span(&state);
      if (!makeImage(&image, page)) state.SkipWithError("no image");
    }
    if (!image.DitherToBytes(method)) state.SkipWithError("no halftone");
    benchmark::DoNotOptimize(image.GetBits());
  }
  image.Destroy();
}

void createFromArray(benchmark::State& state, const std::vector<std::uint8_t>& page) {
  PaletteImage image;
  while (state.KeepRunning()) {
    if (!makeImage(&image, page)) state.SkipWithError("no image");
    benchmark::DoNotOptimize(image.GetBits());
  }
  image.Destroy();
}

// Operations on the image where it stands: what is in it does not change their time.
template <typename Operation>
Stage inPlace(Operation operation) {
  return [operation](benchmark::State& state, const std::vector<std::uint8_t>& page) {
    PaletteImage image;
    if (!makeImage(&image, page)) state.SkipWithError("no image");
    while (state.KeepRunning()) {
      operation(image);
      benchmark::DoNotOptimize(image.GetBits());
    }
    image.Destroy();
  };
}

void registerHalftone(const char* name, std::int64_t method,
                      const std::vector<std::string>& kinds = {"photo"}) {
  const auto run = [method](benchmark::State& state, const std::vector<std::uint8_t>& page) {
    dither(state, page, method);
  };
  registerStage(name, kinds, run);
}

}  // namespace

void registerImageStages() {
  registerHalftone("Floyd-Steinberg", 8, pageKinds());
  registerHalftone("Burkes", 2);
  registerHalftone("Stucki", 3);
  registerHalftone("Jarvis-Judice-Ninke", 4);
  registerHalftone("Sierra", 5);
  registerHalftone("Stevenson-Arce", 6);
  registerHalftone("threshold", 0);
  registerHalftone("ordered", 1);
  registerHalftone("generated", 7);

  registerStage("CreateFromArray", {"photo"}, createFromArray);
  registerStage("Light", {"photo"}, inPlace([](PaletteImage& image) { image.Light(25, 10); }));
  registerStage("Mirror", {"photo"}, inPlace([](PaletteImage& image) { image.Mirror(); }));
  registerStage("Negative", {"photo"}, inPlace([](PaletteImage& image) { image.Negative(); }));
  registerStage("Rotate180", {"photo"},
                inPlace([](PaletteImage& image) { image.Rotate180(nullptr); }));
}

}  // namespace kestra::bench
