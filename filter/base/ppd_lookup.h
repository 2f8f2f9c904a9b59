// Typed look-ups in a printer description (PPD), each with the caller's default.
#pragma once

#include <cups/ppd.h>

#include <cstdint>

namespace kestra {

// All of these accept a null description, in which nothing is found. Returned pointers belong to
// the description and live as long as it is open; a default is returned as it was given.

/// The marked choice of an option, else the choice that the option names as its default, else
/// `defaultChoice`.
ppd_choice_t* wrenPpdGetChoice(ppd_file_t* ppd, const char* keyword,
                               ppd_choice_t* defaultChoice = nullptr);

/// The choice's text in the description's own spelling.
const char* wrenPpdGetChoiceAsStrDefault(ppd_file_t* ppd, const char* keyword,
                                         const char* defaultText);

/// The choice's text as a decimal integer (see `textToInt32`).
std::int32_t wrenPpdGetChoiceAsIntDefault(ppd_file_t* ppd, const char* keyword,
                                          std::int32_t defaultValue);

/// "true" and "yes" are true, "false" and "no" false, in any case of letters. Any other text is
/// read as an integer of which deliberately only the low 8 bits count: "2" is true, "256" false.
bool wrenPpdGetChoiceAsBoolDefault(ppd_file_t* ppd, const char* keyword, bool defaultValue);

/// The value of an attribute.
/// @param spec  the attribute's specifier, or null for any
const char* wrenPpdGetAttrAsStrDefault(ppd_file_t* ppd, const char* name, const char* spec,
                                       const char* defaultText);

/// The value of an attribute as a decimal number.
double wrenPpdGetAttrAsFloatDefault(ppd_file_t* ppd, const char* name, const char* spec,
                                    double defaultValue);

}  // namespace kestra
