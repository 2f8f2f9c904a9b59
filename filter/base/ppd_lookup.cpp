// Reads choices and attributes of the printer description that a queue prints with.
#include "filter/base/ppd_lookup.h"

#include <strings.h>

#include <cstdlib>

#include "filter/base/number.h"

namespace kestra {

ppd_choice_t* wrenPpdGetChoice(ppd_file_t* ppd, const char* keyword, ppd_choice_t* defaultChoice) {
  if (ppd_choice_t* marked = ppdFindMarkedChoice(ppd, keyword)) return marked;
  ppd_option_t* option = ppdFindOption(ppd, keyword);
  ppd_choice_t* named = option == nullptr ? nullptr : ppdFindChoice(option, option->defchoice);
  return named == nullptr ? defaultChoice : named;
}

const char* wrenPpdGetChoiceAsStrDefault(ppd_file_t* ppd, const char* keyword,
                                         const char* defaultText) {
  const ppd_choice_t* choice = wrenPpdGetChoice(ppd, keyword);
  return choice == nullptr ? defaultText : choice->choice;
}

std::int32_t wrenPpdGetChoiceAsIntDefault(ppd_file_t* ppd, const char* keyword,
                                          std::int32_t defaultValue) {
  const ppd_choice_t* choice = wrenPpdGetChoice(ppd, keyword);
  return choice == nullptr ? defaultValue : textToInt32(choice->choice);
}

bool wrenPpdGetChoiceAsBoolDefault(ppd_file_t* ppd, const char* keyword, bool defaultValue) {
  const ppd_choice_t* choice = wrenPpdGetChoice(ppd, keyword);
  if (choice == nullptr) return defaultValue;
  const char* text = choice->choice;
  if (strcasecmp(text, "true") == 0 || strcasecmp(text, "yes") == 0) return true;
  if (strcasecmp(text, "false") == 0 || strcasecmp(text, "no") == 0) return false;
  return (textToInt32(text) & 0xFF) != 0;
}

const char* wrenPpdGetAttrAsStrDefault(ppd_file_t* ppd, const char* name, const char* spec,
                                       const char* defaultText) {
  const ppd_attr_t* attribute = ppdFindAttr(ppd, name, spec);
  return attribute == nullptr || attribute->value == nullptr ? defaultText : attribute->value;
}

double wrenPpdGetAttrAsFloatDefault(ppd_file_t* ppd, const char* name, const char* spec,
                                    double defaultValue) {
  const char* text = wrenPpdGetAttrAsStrDefault(ppd, name, spec, nullptr);
  return text == nullptr ? defaultValue : std::strtod(text, nullptr);
}

}  // namespace kestra
