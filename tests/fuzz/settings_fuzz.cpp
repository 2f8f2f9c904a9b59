// A printer description and job options of any bytes, read into the settings record.
// Why: descriptions are downloaded and options typed by strangers; every field must stay a text
// with an end, every number one that a page can be printed with.
#include <cstdlib>
#include <cstring>

#include "filter/base/job_settings.h"
#include "tests/fuzz/byte_source.h"
#include "tests/fuzz/private_spool.h"
#include "tests/fuzz/require.h"

namespace kestra::fuzz {
namespace {

template <std::size_t Size>
void requireText(const char (&field)[Size]) {
  require(std::memchr(field, '\0', Size) != nullptr, "a text has an end");
}

void readSettings(const std::string& ppd, const std::string& queue, const std::string& options) {
  enterPrivateSpool();
  putFile("tmp/fuzz.ppd", ppd);
  setenv("PPD", "tmp/fuzz.ppd", 1);
  setenv("PRINTER", queue.c_str(), 1);

  Settings settings;
  std::memset(static_cast<void*>(&settings), 0x55, sizeof settings);  // nothing may be left of it
  std::FILE* messages = stderr;
  stderr = std::fopen("/dev/null", "w");
  parseSettings(&settings, options.c_str());
  std::fclose(stderr);
  stderr = messages;

  requireText(settings.PageSize);
  requireText(settings.Resolution);
  requireText(settings.MediaMethod);
  requireText(settings.PaperType);
  requireText(settings.Origin);
  requireText(settings.PrintSpeed);
  requireText(settings.printerName);
  for (const char* c = settings.printerName; *c != '\0'; ++c) {
    require(*c >= 0x20 && *c <= 0x7E, "a queue name in print");
  }
  require(std::strlen(settings.printerName) ==
              std::min<std::size_t>(queue.find('\0'), std::min<std::size_t>(queue.size(), 259)),
          "a character for each byte of the queue name");
  require(settings.MirrorImage == 0 || settings.MirrorImage == 1, "mirror is 0 or 1");
  require(settings.NegativeImage == 0 || settings.NegativeImage == 1, "negative is 0 or 1");
  require(settings.Darkness >= 0 && settings.Darkness <= 2, "darkness is 0, 1 or 2");
  const auto halftone = static_cast<int>(settings.halftoneType);
  require(halftone >= 0 && halftone <= 9, "one of ten halftones");
  require(settings.outputFile[0] == '\0', "no copy of the output is asked for");
  require(settings.jobId[0] == '\0', "no job id yet");
}

}  // namespace
}  // namespace kestra::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kestra::fuzz;
  ByteSource source(data, size);
  const std::string queue = source.text('\n');
  const std::string options = source.text('\n');
  const std::vector<std::uint8_t> ppd = source.rest();
  readSettings({ppd.begin(), ppd.end()}, queue, options);
  return 0;
}
