// Names the fixed places of the spool. The tests link the same program with a second build of this
// one file whose paths are relative, for machines on which they cannot give a job a private spool.
#include "filter/base/spool_paths.h"

#ifndef KESTRA_PATH_ROOT
#define KESTRA_PATH_ROOT "/"
#endif

#define KESTRA_SPOOL_TMP KESTRA_PATH_ROOT "var/spool/cups/tmp"

namespace kestra::spool_paths {

const char* const kDataDir = KESTRA_SPOOL_TMP "/kcv6data";
const char* const kImageTemplate = KESTRA_SPOOL_TMP "/prnimg_%d-%d-%d_%d_%d_%d_%ld.bmp";
const char* const kOriginImageTemplate = KESTRA_SPOOL_TMP "/origin_%d-%d-%d_%d_%d_%d_%ld.bmp";
const char* const kDitheredImageTemplate = KESTRA_SPOOL_TMP "/dithered_%d-%d-%d_%d_%d_%d_%ld.bmp";
const char* const kSideFile = KESTRA_PATH_ROOT "tmp/xxxxx.log";

}  // namespace kestra::spool_paths
