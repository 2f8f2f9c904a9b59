// A directory of programs like the machine's own, with this build's filter and a capturing printer.
// Why: the printer descriptions name the filter without a path, exactly as a user's queue does.
#include "tests/cups/server_files.h"

#include <unistd.h>

#include <filesystem>
#include <map>

#include "tests/cups/command.h"
#include "tests/cups/private_machine.h"

namespace kestra::cups_tests {

namespace fs = std::filesystem;

namespace {

constexpr char kInstalled[] = "/usr/lib/cups";

// Writes what it reads into a file of the job's number in the directory that its address names:
// also what the filter sent before a job was cancelled.
constexpr char kCapture[] =
    "#!/bin/sh\n"
    "[ $# -gt 0 ] || exit 0\n"
    "trap '' TERM\n"
    "exec cat >\"${DEVICE_URI#capture:}/$1.bin\"\n";

// Starts the build with relative paths inside the private directory, under the queue's name as the
// server would.
std::string wrapper(const std::string& program) {
  return "#!/bin/bash\ncd '" + thisMachine().root + "' && exec -a \"$PRINTER\" '" + program +
         "' \"$@\"\n";
}

std::map<std::string, std::string>& buildFiles() {
  static std::map<std::string, std::string> files;
  return files;
}

}  // namespace

void keepBuildFiles() {
  buildFiles()["filter"] = readFile(KESTRA_FILTER);
  buildFiles()["relative"] = readFile(KESTRA_FILTER_RELATIVE);
  buildFiles()["kestrafit"] = readFile(KESTRA_FIT);
  buildFiles()["kestrasize"] = readFile(KESTRA_SIZE);
  buildFiles()["kestra-testlabel"] = readFile(KESTRA_TESTLABEL);
  for (const char* model : {"kestra4.ppd", "kestraa4.ppd"}) {
    buildFiles()[model] = readFile(std::string(KESTRA_PPD_DIR) + "/" + model);
  }
}

std::string writeServerFiles(const std::string& place) {
  for (const auto& [name, bytes] : buildFiles()) {
    if (bytes.empty()) return "the build has no " + name;
  }
  const std::string bin = place + "bin/";
  fs::create_directories(bin);
  for (const char* room : {"filter", "backend"}) {
    fs::create_directory(bin + room);
    for (const auto& entry : fs::directory_iterator(std::string(kInstalled) + "/" + room)) {
      const std::string name = entry.path().filename();
      // An installed one must not shadow the build's.
      if (name != "rastertokestra" && name != "kestrafit" && name != "kestrasize") {
        fs::create_symlink(entry.path(), bin + room + "/" + name);
      }
    }
  }
  for (const char* room : {"daemon", "driver", "cgi-bin", "monitor", "notifier"}) {
    const std::string there = std::string(kInstalled) + "/" + room;
    if (fs::exists(there)) fs::create_symlink(there, bin + room);
  }
  for (const char* program : {"pdftopdf", "gstoraster", "texttopdf", "imagetoraster", "gstopdf"}) {
    if (!fs::exists(bin + "filter/" + program)) {
      return std::string(program) +
             " is missing: install the packages cups-filters and cups-filters-core-drivers";
    }
  }
  writeFile(bin + "backend/capture", kCapture, 0755);
  writeFile(place + "kestra-testlabel", buildFiles()["kestra-testlabel"], 0755);
  writeFile(bin + "filter/kestrafit", buildFiles()["kestrafit"], 0755);
  writeFile(bin + "filter/kestrasize", buildFiles()["kestrasize"], 0755);
  if (thisMachine().root == "/") {
    writeFile(bin + "filter/rastertokestra", buildFiles()["filter"], 0755);
  } else {
    const std::string program = place + "rastertokestra_relative";
    writeFile(program, buildFiles()["relative"], 0755);
    writeFile(bin + "filter/rastertokestra", wrapper(program), 0755);
  }
  for (const char* model : {"kestra4.ppd", "kestraa4.ppd"}) {
    writeFile(place + model, buildFiles()[model]);
  }
  return "";
}

std::string serverPlaces(const std::string& place, const std::string& spool,
                         const std::string& temporary) {
  std::string text = "ServerRoot " + place + "etc\n" +        //
                     "RequestRoot " + spool + "\n" +          //
                     "TempDir " + temporary + "\n" +          //
                     "StateDir " + place + "state\n" +        //
                     "CacheDir " + place + "cache\n" +        //
                     "ServerBin " + place + "bin\n" +         //
                     "DataDir /usr/share/cups\n" +            //
                     "ErrorLog " + place + "error_log\n" +    //
                     "AccessLog " + place + "access_log\n" +  //
                     "PageLog " + place + "page_log\n" +      //
                     "SystemGroup root\n";
  // An ordinary user's server runs filters as that user.
  if (::geteuid() == 0) text += "User lp\nGroup lp\n";
  return text;
}

std::string serverRules(const std::string& place) {
  return "Listen " + place +
         "sock\n"
         "LogLevel debug\n"
         "MaxLogSize 0\n"
         "Browsing No\n"
         "DefaultAuthType None\n"
         "JobKillDelay 5\n"
         "<Location />\nOrder allow,deny\nAllow all\n</Location>\n"
         "<Policy default>\nJobPrivateAccess all\nJobPrivateValues none\n"
         "<Limit All>\nOrder allow,deny\nAllow all\n</Limit>\n</Policy>\n";
}

}  // namespace kestra::cups_tests
