// Sends the printer's bytes: the same to standard output and to every copy that was asked for.
#include <cstdarg>

#include "printer/wren_printer.h"

namespace kestra {

void WrenPrinter::printBytes(const void* data, std::size_t size) {
  for (std::FILE* stream : outputStreams_) static_cast<void>(std::fwrite(data, size, 1, stream));
}

void WrenPrinter::printStr(const char* text) {
  for (std::FILE* stream : outputStreams_) std::fprintf(stream, "%s", text);
}

void WrenPrinter::printByte(unsigned char byte) {
  for (std::FILE* stream : outputStreams_) std::fputc(byte, stream);
}

int WrenPrinter::printFormat(const char* format, ...) {
  int written = 0;
  std::va_list arguments;
  va_start(arguments, format);
  for (std::FILE* stream : outputStreams_) {
    std::va_list copy;
    va_copy(copy, arguments);
    written = std::vfprintf(stream, format, copy);
    va_end(copy);
  }
  va_end(arguments);
  return written;
}

}  // namespace kestra
