// Stand-ins for the fast versions of all loops, which write down their names: choice_test.cpp
// includes this once for each version, so there is no guard.

namespace kestra::KESTRA_VERSION {
namespace {

void note(const char* name) { ran.push_back(std::string(KESTRA_VERSION_NAME) + name); }

}  // namespace

void packDots(const std::uint8_t* /*pixels*/, std::size_t /*count*/, std::uint8_t* /*bits*/) {
  note("packDots");
}

std::uint64_t countDots(const std::uint8_t* /*bits*/, std::size_t /*size*/) {
  note("countDots");
  return 0;
}

void ditherRow(const std::uint8_t* /*levels*/, std::size_t /*count*/,
               const std::uint8_t* /*thresholds*/, std::uint8_t* /*dots*/) {
  note("ditherRow");
}

void lookUpLevels(const std::uint8_t* /*table*/, const std::uint8_t* /*levels*/,
                  std::uint8_t* /*out*/, std::size_t /*count*/) {
  note("lookUpLevels");
}

void reverseLevels(std::uint8_t* /*levels*/, std::size_t /*count*/) { note("reverseLevels"); }

void countLevels(const std::uint8_t* /*levels*/, std::size_t /*count*/, std::uint32_t* /*counts*/) {
  note("countLevels");
}

void diffuse(const DiffusionPage& /*page*/, std::uint8_t* scratch) {
  note(scratch == nullptr ? "diffuse without scratch" : "diffuse");
}

void blurPixels(const unsigned char* const* /*taps*/, const GaussianWeights& /*weights*/,
                unsigned char* /*out*/, std::size_t /*count*/) {
  note("blurPixels");
}

void sharpenPixels(const unsigned char* /*source*/, const unsigned char* /*blurred*/,
                   unsigned char* /*out*/, std::size_t /*count*/) {
  note("sharpenPixels");
}

void diffuseStencilBand(const StencilBand& /*band*/) {
  note("diffuseStencilBand");
  remainsCounted = remainsCount();
}

}  // namespace kestra::KESTRA_VERSION
