// Shows the header values that a page came with, to find out later why it was printed as it was.
#include "filter/header_log.h"

#include <cstdio>
#include <cstring>

#include "filter/base/file.h"
#include "filter/base/log.h"
#include "filter/base/spool_paths.h"

namespace kestra {
namespace {

// Header fields are unsigned, their log lines signed.
int shown(unsigned value) { return static_cast<int>(value); }

// A damaged header may hold anything in its enumerations: their bytes are taken as a number.
template <typename Enumeration>
int shownEnumeration(const Enumeration& field) {
  static_assert(sizeof field == sizeof(int), "enumerations of the header are 32-bit numbers");
  int value = 0;
  std::memcpy(&value, &field, sizeof value);
  return value;
}

}  // namespace

void logPageHeader(int page, const cups_page_header2_t& header) {
  wrenLogCommon(kLogDebug, "PAGE: %d %d\n", page, shown(header.NumCopies));
  wrenLogCommon(kLogDebug, "header.HWResolution[0]:%d\n", shown(header.HWResolution[0]));
  wrenLogCommon(kLogDebug, "header.HWResolution[1]:%d", shown(header.HWResolution[1]));
  wrenLogCommon(kLogDebug, "header.cupsWidth:%d", shown(header.cupsWidth));
  wrenLogCommon(kLogDebug, "header.cupsHeight:%d", shown(header.cupsHeight));
  wrenLogCommon(kLogDebug, "header.cupsMediaType:%d", shown(header.cupsMediaType));
  wrenLogCommon(kLogDebug, "header.cupsBitsPerColor:%d", shown(header.cupsBitsPerColor));
  wrenLogCommon(kLogDebug, "header.cupsBitsPerPixel:%d", shown(header.cupsBitsPerPixel));
  wrenLogCommon(kLogDebug, "header.cupsBytesPerLine:%d", shown(header.cupsBytesPerLine));
  wrenLogCommon(kLogDebug, "header.cupsColorOrder:%d", shownEnumeration(header.cupsColorOrder));
  wrenLogCommon(kLogDebug, "header.cupsColorSpace:%d", shownEnumeration(header.cupsColorSpace));
  wrenLogCommon(kLogDebug, "header.cupsCompression:%d", shown(header.cupsCompression));
  wrenLogCommon(kLogDebug, "header.cupsRowCount:%d", shown(header.cupsRowCount));
  wrenLogCommon(kLogDebug, "header.cupsRowFeed:%d", shown(header.cupsRowFeed));
  wrenLogCommon(kLogDebug, "header.cupsRowStep:%d", shown(header.cupsRowStep));
}

void writeSideFile(const cups_page_header2_t& header) {
  const FilePtr file = openPrivateFile(spool_paths::kSideFile);
  if (file == nullptr) return;
  std::fprintf(file.get(),
               "cupsWidth:%d, cupsHeight:%d, cupsBytesPerLine:%d, cupsBitsPerPixel:%d\n",
               shown(header.cupsWidth), shown(header.cupsHeight), shown(header.cupsBytesPerLine),
               shown(header.cupsBitsPerPixel));
}

}  // namespace kestra
