// Stand-ins for the fast versions of all loops, which write down their names: choice_test.cpp
// includes this once for each version, so there is no guard.

namespace kestra::KESTRA_VERSION {
namespace {

void note(const char* name) { ran.push_back(std::string(KESTRA_VERSION_NAME) + name); }

}  // namespace

void packDots(const std::uint8_t*, std::size_t, std::uint8_t*) { note("packDots"); }

std::uint64_t countDots(const std::uint8_t*, std::size_t) {
  note("countDots");
  return 0;
}

void ditherRow(const std::uint8_t*, std::size_t, const std::uint8_t*, std::uint8_t*) {
  note("ditherRow");
}

void lookUpLevels(const std::uint8_t*, const std::uint8_t*, std::uint8_t*, std::size_t) {
  note("lookUpLevels");
}

void reverseLevels(std::uint8_t*, std::size_t) { note("reverseLevels"); }

void countLevels(const std::uint8_t*, std::size_t, std::uint32_t*) { note("countLevels"); }

void diffuse(const DiffusionPage&, std::uint8_t* scratch) {
  note(scratch == nullptr ? "diffuse without scratch" : "diffuse");
}

void blurPixels(const unsigned char* const*, const GaussianWeights&, unsigned char*, std::size_t) {
  note("blurPixels");
}

void sharpenPixels(const unsigned char*, const unsigned char*, unsigned char*, std::size_t) {
  note("sharpenPixels");
}

void diffuseStencilBand(const StencilBand&) {
  note("diffuseStencilBand");
  remainsCounted = remainsCount();
}

}  // namespace kestra::KESTRA_VERSION
