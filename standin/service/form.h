// Form bodies of the traffic service: "key=value&key=value", as the client
// posts them, and the number reading the handlers share.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

using FormFields = std::map<std::string, std::string>;

/// Splits a form body into its fields; "+" and "%XX" are decoded. A key
/// given twice keeps its last value.
FormFields gf_parseForm(std::string_view BODY);

/// The field as a number, none when it is missing or not wholly a number.
std::optional<double> gf_formDouble(const FormFields& FORM, const std::string& KEY);
/// The field as a whole number, none when it is missing or not an integer.
std::optional<long long> gf_formInteger(const FormFields& FORM, const std::string& KEY);
/// The field's text, empty when it is missing.
std::string gf_formText(const FormFields& FORM, const std::string& KEY);

} // namespace orv
