// Form body decoding for the traffic service.
#include "standin/service/form.h"

#include <charconv>
#include <cstdlib>

namespace orv {

namespace {

int lf_hexValue(char C)
{
    if (C >= '0' && C <= '9') return C - '0';
    if (C >= 'a' && C <= 'f') return C - 'a' + 10;
    if (C >= 'A' && C <= 'F') return C - 'A' + 10;
    return -1;
}

std::string lf_decode(std::string_view TEXT)
{
    std::string out;
    out.reserve(TEXT.size());
    for (std::size_t i = 0; i < TEXT.size(); ++i) {
        const char c = TEXT[i];
        if (c == '+') {
            out += ' ';
        } else if (c == '%' && i + 2 < TEXT.size() && lf_hexValue(TEXT[i + 1]) >= 0 && lf_hexValue(TEXT[i + 2]) >= 0) {
            out += static_cast<char>(lf_hexValue(TEXT[i + 1]) * 16 + lf_hexValue(TEXT[i + 2]));
            i += 2;
        } else {
            out += c;
        }
    }
    return out;
}

} // namespace

FormFields gf_parseForm(std::string_view BODY)
{
    FormFields fields;
    while (!BODY.empty()) {
        const auto amp = BODY.find('&');
        const std::string_view pair = BODY.substr(0, amp);
        BODY = amp == std::string_view::npos ? std::string_view{} : BODY.substr(amp + 1);
        if (pair.empty()) continue;
        const auto eq = pair.find('=');
        if (eq == std::string_view::npos) {
            fields[lf_decode(pair)] = "";
        } else {
            fields[lf_decode(pair.substr(0, eq))] = lf_decode(pair.substr(eq + 1));
        }
    }
    return fields;
}

std::string gf_formText(const FormFields& FORM, const std::string& KEY)
{
    const auto it = FORM.find(KEY);
    return it == FORM.end() ? std::string{} : it->second;
}

std::optional<double> gf_formDouble(const FormFields& FORM, const std::string& KEY)
{
    const auto it = FORM.find(KEY);
    if (it == FORM.end() || it->second.empty()) return std::nullopt;
    const std::string& text = it->second;
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size()) return std::nullopt;
    return value;
}

std::optional<long long> gf_formInteger(const FormFields& FORM, const std::string& KEY)
{
    const auto it = FORM.find(KEY);
    if (it == FORM.end() || it->second.empty()) return std::nullopt;
    const std::string& text = it->second;
    long long value = 0;
    const auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc{} || ptr != text.data() + text.size()) return std::nullopt;
    return value;
}

} // namespace orv
