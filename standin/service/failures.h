// Failures on demand: a plan of wrong answers that the service gives instead
// of (or on top of) its normal ones, set from the command line or the control
// path, so that tests and people can see how the client copes.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "standin/service/form.h"

namespace orv {

/// The kinds of request a failure can aim at.
enum class RequestKind { Auth, Deauth, NearestMetar, Weather, Traffic, Buffer, Parked, Any };

enum class FailureKind {
    Status,     ///< a JSON answer with this status and a message, nothing else
    NotJson,    ///< an error page instead of JSON
    TextStatus, ///< the normal answer, its status sent as text
    Empty,      ///< an empty body
    Stall,      ///< the normal answer, held back until released or stallMs passed
    Custom,     ///< the body given, as it is (control path only)
};

struct Failure {
    RequestKind request = RequestKind::Any;
    FailureKind kind = FailureKind::Status;
    int status = 500;  ///< for FailureKind::Status
    int count = 1;     ///< how many requests it hits; 0 = every one until cleared
    int after = 0;     ///< matching requests let through before it hits
    int stallMs = 0;   ///< for FailureKind::Stall; 0 = until released
    std::string body;  ///< for FailureKind::Custom
};

struct FailurePlan {
    std::vector<Failure> failures;
};

/// "auth", "deauth", "nearestmetar", "weather", "traffic", "buffer", "parked", "any".
std::optional<RequestKind> gf_requestKindByName(std::string_view NAME);
std::string_view gf_requestKindName(RequestKind KIND);

/// "REQUEST:ANSWER[:COUNT[:AFTER[:MS]]]", ANSWER a status number or one of
/// "notjson", "textstatus", "empty", "stall". Throws std::invalid_argument.
Failure gf_parseFailure(std::string_view SPEC);

/// The same from a control form: request, answer, count, after, ms; and
/// answer "custom" with the answer's text in body.
Failure gf_failureFromForm(const FormFields& FORM);

/// The failure that hits a request of KIND now, if any; counts it off.
std::optional<Failure> gf_takeFailure(FailurePlan& PLAN, RequestKind KIND);

} // namespace orv
