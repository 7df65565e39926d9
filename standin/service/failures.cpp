// Parsing and counting off failures on demand.
#include "standin/service/failures.h"

#include <array>
#include <charconv>
#include <stdexcept>
#include <utility>

#include <fmt/format.h>

namespace orv {

namespace {

constexpr std::array<std::pair<RequestKind, std::string_view>, 8> kRequestNames{{
    {RequestKind::Auth, "auth"},
    {RequestKind::Deauth, "deauth"},
    {RequestKind::NearestMetar, "nearestmetar"},
    {RequestKind::Weather, "weather"},
    {RequestKind::Traffic, "traffic"},
    {RequestKind::Buffer, "buffer"},
    {RequestKind::Parked, "parked"},
    {RequestKind::Any, "any"},
}};

constexpr int kLowestStatus = 100;
constexpr int kHighestStatus = 599;

int lf_number(std::string_view TEXT, std::string_view WHAT)
{
    int value = 0;
    const auto [ptr, ec] = std::from_chars(TEXT.data(), TEXT.data() + TEXT.size(), value);
    if (TEXT.empty() || ec != std::errc{} || ptr != TEXT.data() + TEXT.size() || value < 0) {
        throw std::invalid_argument(fmt::format("{} must be a whole number >= 0: \"{}\"", WHAT, TEXT));
    }
    return value;
}

Failure lf_makeFailure(std::string_view REQUEST, std::string_view ANSWER)
{
    Failure failure;
    const auto kind = gf_requestKindByName(REQUEST);
    if (!kind) throw std::invalid_argument(fmt::format("unknown request kind \"{}\"", REQUEST));
    failure.request = *kind;
    if (ANSWER == "notjson") {
        failure.kind = FailureKind::NotJson;
    } else if (ANSWER == "textstatus") {
        failure.kind = FailureKind::TextStatus;
    } else if (ANSWER == "empty") {
        failure.kind = FailureKind::Empty;
    } else if (ANSWER == "stall") {
        failure.kind = FailureKind::Stall;
    } else {
        failure.kind = FailureKind::Status;
        failure.status = lf_number(ANSWER, "answer");
        if (failure.status < kLowestStatus || failure.status > kHighestStatus) {
            throw std::invalid_argument(fmt::format("status {} is no HTTP-like status", failure.status));
        }
    }
    return failure;
}

} // namespace

std::optional<RequestKind> gf_requestKindByName(std::string_view NAME)
{
    for (const auto& [kind, name] : kRequestNames) {
        if (name == NAME) return kind;
    }
    return std::nullopt;
}

std::string_view gf_requestKindName(RequestKind KIND)
{
    for (const auto& [kind, name] : kRequestNames) {
        if (kind == KIND) return name;
    }
    return "?";
}

Failure gf_parseFailure(std::string_view SPEC)
{
    std::vector<std::string_view> parts;
    while (true) {
        const auto colon = SPEC.find(':');
        parts.push_back(SPEC.substr(0, colon));
        if (colon == std::string_view::npos) break;
        SPEC.remove_prefix(colon + 1);
    }
    constexpr std::size_t kLeast = 2, kMost = 5;
    if (parts.size() < kLeast || parts.size() > kMost) {
        throw std::invalid_argument("a failure is REQUEST:ANSWER[:COUNT[:AFTER[:MS]]]");
    }
    Failure failure = lf_makeFailure(parts[0], parts[1]);
    if (parts.size() > 2) failure.count = lf_number(parts[2], "count");
    if (parts.size() > 3) failure.after = lf_number(parts[3], "after");
    if (parts.size() > 4) failure.stallMs = lf_number(parts[4], "ms");
    return failure;
}

Failure gf_failureFromForm(const FormFields& FORM)
{
    const std::string answer = gf_formText(FORM, "answer");
    Failure failure;
    if (answer == "custom") {
        failure = lf_makeFailure(gf_formText(FORM, "request"), "empty");
        failure.kind = FailureKind::Custom;
        failure.body = gf_formText(FORM, "body");
    } else {
        failure = lf_makeFailure(gf_formText(FORM, "request"), answer);
    }
    if (FORM.count("count")) failure.count = lf_number(gf_formText(FORM, "count"), "count");
    if (FORM.count("after")) failure.after = lf_number(gf_formText(FORM, "after"), "after");
    if (FORM.count("ms")) failure.stallMs = lf_number(gf_formText(FORM, "ms"), "ms");
    return failure;
}

std::optional<Failure> gf_takeFailure(FailurePlan& PLAN, RequestKind KIND)
{
    for (auto it = PLAN.failures.begin(); it != PLAN.failures.end(); ++it) {
        if (it->request != KIND && it->request != RequestKind::Any) continue;
        if (it->after > 0) {
            --it->after;
            continue;
        }
        const Failure hit = *it;
        if (it->count > 0 && --it->count == 0) PLAN.failures.erase(it);
        return hit;
    }
    return std::nullopt;
}

} // namespace orv
