// Names the new PDF, guards what is there, and tells what the search says.
//
// Only a PDF that an earlier run made is replaced: a shop's own file is worth more than a proof.
#include "tools/proof/proof_crop.h"

#include <filesystem>

#include "tools/crop/crop_document.h"
#include "tools/render/child.h"

namespace kestra::proof {
namespace {

// "out/shop-crop.pdf", or beside --output.
std::string croppedPath(const Arguments& arguments, const std::string& path) {
  const std::filesystem::path picture = picturePath(arguments, stem(path) + "-crop");
  return std::filesystem::path(picture).replace_extension(".pdf").string();
}

Result<void> mayReplace(const std::string& output, const std::string& document,
                        const Arguments& arguments, const WriteGuard& guard) {
  Result<void> may = guard.mayWriteFile(output);
  std::error_code ignored;
  if (!may || arguments.force || !std::filesystem::exists(output, ignored) ||
      crop::isCroppedFrom(output, document)) {
    return may;
  }
  return Problem{
      output +
      " is there already and was not made by --crop of this document; move it away, or name "
      "another place with --output-dir, or write over it with --force"};
}

// Writes the PDF and tells what was found. Its path.
Result<std::string> cropTo(const std::string& path, DocumentType type, const Arguments& arguments,
                           const Printer& printer, WriteGuard& guard, Teller& teller) {
  if (type != DocumentType::kPdf && type != DocumentType::kPostScript) {
    return Problem{std::string("--crop finds labels on PDF and PostScript pages, and this is ") +
                   typeWords(type) + "; make a PDF of it first"};
  }
  crop::CropRequest request;
  request.document = std::filesystem::absolute(path).string();
  const PageArea page = printer.options.page();
  request.label = {page.width, page.height};
  request.output = croppedPath(arguments, path);
  if (!arguments.cropPlace.empty()) request.hand = crop::parseHandPlace(arguments.cropPlace);
  const Result<void> may = mayReplace(request.output, path, arguments, guard);
  if (!may) return Problem{may.problem()};
  const Result<crop::Cropped> cropped = crop::cropDocument(request);
  if (!cropped) return Problem{cropped.problem()};
  if (interruptSignal() != 0) return Problem{"stopped"};
  for (const std::string& found : cropped->found) teller.note("label on " + found);
  for (const std::string& warning : cropped->warnings) teller.warn(warning);
  teller.note("written: " + request.output);
  guard.wrote(request.output);
  return request.output;
}

}  // namespace

void proofCropped(const std::string& path, DocumentType type, const Arguments& arguments,
                  const Printer& printer, const std::string& keep, WriteGuard& guard,
                  Teller& teller) {
  teller.begin({path, typeWords(type), printer.model, printer.ppd, printer.options.given()});
  const Result<std::string> cropped = cropTo(path, type, arguments, printer, guard, teller);
  if (!cropped && interruptSignal() == 0) teller.complain(cropped.problem());
  teller.end({});
  if (!cropped) return;
  proofDocument(*cropped, DocumentType::kPdf, arguments, printer, keep, guard, teller);
}

}  // namespace kestra::proof
