// The answers of the service's five paths, each as a JSON object with its
// status; shared by the request dispatch of service_core.cpp only.
#pragma once

#include <nlohmann/json.hpp>

#include "standin/service/form.h"
#include "standin/service/service_core.h"

namespace orv {

inline constexpr int kStatusGood = 200;
inline constexpr int kStatusParameterFault = 400;
inline constexpr int kStatusNoSession = 401;
inline constexpr int kStatusLicenceExpired = 402;
inline constexpr int kStatusDataRefused = 403;
inline constexpr int kStatusLicenceUnknown = 404;
inline constexpr int kStatusSessionActive = 405;
inline constexpr int kStatusSlowDown = 406;
inline constexpr int kStatusDatabaseFault = 500;

/// {"status": STATUS, "message": the service's words for it}.
nlohmann::json gf_statusAnswer(int STATUS);

nlohmann::json gf_answerAuth(ServiceState& STATE, const FormFields& FORM, double NOW);
nlohmann::json gf_answerDeauth(ServiceState& STATE, const FormFields& FORM, double NOW);
nlohmann::json gf_answerNearestMetar(ServiceState& STATE, const FormFields& FORM, double NOW);
nlohmann::json gf_answerWeather(ServiceState& STATE, const FormFields& FORM, double NOW);
/// Live, buffered and parked traffic, told apart by querytype and buffercount.
nlohmann::json gf_answerTraffic(ServiceState& STATE, const FormFields& FORM, double NOW);

/// The kind of a traffic request by its form; Traffic when it cannot tell.
RequestKind gf_trafficKind(const FormFields& FORM);

/// Forgets the session with this identifier, as a server does that drops it.
void gf_dropSession(ServiceState& STATE, const std::string& GUID);

} // namespace orv
