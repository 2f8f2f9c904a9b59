// Makes messages of two runs comparable: addresses, times and numbers without meaning become '#'.
// Why: everything else in the log of a job is fixed to the letter.
#pragma once

#include <string>

namespace kestra::testing_support {

/// Masks, line by line,
///   "address: 0x55d0"             -> "address: #"        (also "pointer address: 123,")
///   "origin_2024-5-7_9_3_12_0.bmp" -> "origin_#_0.bmp"    (also dithered_)
///   "settings->VBarcodeOpt:0.0", "KCLSendPaperInfo: settings->pageWidth:1.5" -> "...:#"
///   "-nan" -> "nan"
std::string maskLog(const std::string& log);

/// The same for one debug image name.
std::string maskImageName(const std::string& name);

/// Empty when the masked log equals the expected one; else the first line that differs, with
/// what follows it. An expected
/// line "ERROR:*" allows any text after "ERROR:".
std::string compareLogs(const std::string& expected, const std::string& actual);

}  // namespace kestra::testing_support
