// Which kernel a dithering method's number means, and the way from an image's sizes to the kernels.
#include "imaging/paletteimage/error_diffusion.h"

#include "imaging/kernels/diffusion.h"

namespace kestra {
namespace {

const DiffusionKernel& kernelOf(DiffusionMethod method) {
  return kDiffusionKernels[static_cast<std::size_t>(method)];
}

}  // namespace

const DiffusionKernel& diffusionKernel(std::uint64_t method) {
  switch (method) {
    case 2:
      return kernelOf(DiffusionMethod::kBurkes);
    case 3:
      return kernelOf(DiffusionMethod::kStucki);
    case 4:
      return kernelOf(DiffusionMethod::kJarvisJudiceNinke);
    case 5:
      return kernelOf(DiffusionMethod::kSierra);
    case 6:
      return kernelOf(DiffusionMethod::kStevensonArce);
    default:
      return kernelOf(DiffusionMethod::kFloydSteinberg);
  }
}

void diffuseErrors(const DiffusionKernel& kernel, const std::uint8_t* grey, std::size_t greyStride,
                   std::uint8_t* bits, std::size_t bitStride, std::int64_t width,
                   std::int64_t height) {
  if (width <= 0 || height <= 0) return;
  diffuse({kernel.method, grey, greyStride, bits, bitStride, static_cast<std::size_t>(width),
           static_cast<std::size_t>(height)});
}

void diffuseErrorsInPlace(const DiffusionKernel& kernel, std::uint8_t* levels, std::size_t stride,
                          std::int64_t width, std::int64_t height) {
  if (width <= 0 || height <= 0) return;
  constexpr bool kAsBytes = true;
  diffuse({kernel.method, levels, stride, levels, stride, static_cast<std::size_t>(width),
           static_cast<std::size_t>(height), kAsBytes});
}

}  // namespace kestra
