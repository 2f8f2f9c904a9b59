// Names the new PDF, guards what is there, and tells what the search says.
//
// Only a PDF that an earlier run made is replaced: a shop's own file is worth more than a proof.
#include "tools/proof/proof_crop.h"

#include <filesystem>

#include "tools/crop/crop_document.h"
#include "tools/render/child.h"

namespace kestra {
namespace {

// "out/shop-crop.pdf", or beside --output.
std::string croppedPath(const Arguments& arguments, const std::string& path) {
  const std::filesystem::path picture = picturePath(arguments, stem(path) + "-crop");
  return std::filesystem::path(picture).replace_extension(".pdf").string();
}

bool mayReplace(const std::string& output, const std::string& document, const Arguments& arguments,
                const WriteGuard& guard, std::string& problem) {
  if (!guard.mayWriteFile(output, problem)) return false;
  std::error_code ignored;
  if (arguments.force || !std::filesystem::exists(output, ignored) ||
      crop::isCroppedFrom(output, document)) {
    return true;
  }
  problem = output +
            " is there already and was not made by --crop of this document; move it away, or name "
            "another "
            "place with --output-dir, or write over it with --force";
  return false;
}

// The PDF's path, or an empty text where there is none.
std::string cropTo(const std::string& path, DocumentType type, const Arguments& arguments,
                   const Printer& printer, WriteGuard& guard, Teller& teller) {
  std::string problem;
  if (type != DocumentType::kPdf && type != DocumentType::kPostScript) {
    teller.complain(std::string("--crop finds labels on PDF and PostScript pages, and this is ") +
                    typeWords(type) + "; make a PDF of it first");
    return {};
  }
  crop::CropRequest request;
  request.document = std::filesystem::absolute(path).string();
  const PageArea page = printer.options.page();
  request.label = {page.width, page.height};
  request.output = croppedPath(arguments, path);
  if (!arguments.crop_place.empty()) request.hand = crop::parseHandPlace(arguments.crop_place);
  if (!mayReplace(request.output, path, arguments, guard, problem)) {
    teller.complain(problem);
    return {};
  }
  const crop::CropResult result = crop::cropDocument(request);
  if (interruptSignal() != 0) return {};
  if (!result.problem.empty()) {
    teller.complain(result.problem);
    return {};
  }
  for (const std::string& found : result.found) teller.note("label on " + found);
  for (const std::string& warning : result.warnings) teller.warn(warning);
  teller.note("written: " + request.output);
  guard.wrote(request.output);
  return request.output;
}

}  // namespace

void proofCropped(const std::string& path, DocumentType type, const Arguments& arguments,
                  const Printer& printer, const std::string& keep, WriteGuard& guard,
                  Teller& teller) {
  teller.begin({path, typeWords(type), printer.model, printer.ppd, printer.options.given()});
  const std::string cropped = cropTo(path, type, arguments, printer, guard, teller);
  teller.end({});
  if (cropped.empty()) return;
  proofDocument(cropped, DocumentType::kPdf, arguments, printer, keep, guard, teller);
}

}  // namespace kestra
