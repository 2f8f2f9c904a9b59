// Looks for printer descriptions relative to the program, so that no path is compiled in and a
// build, an installation and a package all find their own.
#include "tools/render/ppd_place.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace kestra {

std::string ppdName(const std::string& model) {
  if (model == "label") return "kestra4.ppd";
  if (model == "stencil") return "kestraa4.ppd";
  return {};
}

std::vector<std::string> ppdPlaces(const std::string& model) {
  const std::string name = ppdName(model);
  const std::string installed = "/share/ppd/rastertokestra/" + name;
  std::vector<std::string> places;
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (!error) {
    places.push_back((program.parent_path() / "ppd" / name).string());
    places.push_back(program.parent_path().parent_path().string() + installed);
  }
  places.push_back("/usr/local" + installed);
  places.push_back("/usr" + installed);
  return places;
}

Result<std::string> findPpd(const std::string& model) {
  std::string looked;
  for (const std::string& place : ppdPlaces(model)) {
    if (access(place.c_str(), R_OK) == 0) return place;
    looked += (looked.empty() ? "" : ", ") + place;
  }
  return Problem{
      "no printer description of the model " + model + " in any of " + looked +
      "; name one with --ppd FILE, or build it (cmake --build build --target ppds, needs the "
      "package cups-ppdc)"};
}

}  // namespace kestra
