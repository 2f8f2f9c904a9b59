// Looks into the compiled printer descriptions.
// Why: what a test expects of a description must be found the way libcups finds it for a job.
#include "tests/driver/model.h"

#include <cmath>
#include <cstdlib>

namespace kestra::driver {

std::string pathOf(const std::string& model) { return KESTRA_PPD_DIR "/" + model; }

Ppd openModel(const std::string& model) {
  Ppd ppd(ppdOpenFile(pathOf(model).c_str()));
  if (ppd) ppdMarkDefaults(ppd.get());
  return ppd;
}

std::vector<ppd_option_t*> optionsOf(ppd_file_t* ppd) {
  std::vector<ppd_option_t*> options;
  for (int group = 0; group < ppd->num_groups; ++group) {
    for (int i = 0; i < ppd->groups[group].num_options; ++i) {
      options.push_back(&ppd->groups[group].options[i]);
    }
  }
  return options;
}

std::vector<std::string> choicesOf(ppd_file_t* ppd, const char* keyword) {
  std::vector<std::string> names;
  const ppd_option_t* option = ppdFindOption(ppd, keyword);
  if (option == nullptr) return names;
  for (int i = 0; i < option->num_choices; ++i) names.emplace_back(option->choices[i].choice);
  return names;
}

std::string defaultOf(ppd_file_t* ppd, const char* keyword) {
  const ppd_option_t* option = ppdFindOption(ppd, keyword);
  return option == nullptr ? "(no such option)" : option->defchoice;
}

double headWidthPoints(ppd_file_t* ppd) {
  const ppd_attr_t* attribute = ppdFindAttr(ppd, "MaxMediaWidth", nullptr);
  return attribute == nullptr || attribute->value == nullptr ? 0 : std::atof(attribute->value);
}

int dotsOf(double points, int dpi) {
  return static_cast<int>(std::floor(points * dpi / 72 + 0.4999));
}

std::string shortName(const std::string& model) { return model.substr(0, model.find('.')); }

}  // namespace kestra::driver
