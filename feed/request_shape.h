// The fixed parts of each request of the service's API: its path and the
// two log lines of its failures. Shared by the client's units only.
#pragma once

#include <string>

namespace orv {

struct RtClient;

struct RequestShape {
    const char* path;
    const char* curlFailure;  ///< time of day, curl_easy_strerror
    const char* exceptionLog; ///< what()
};

inline constexpr RequestShape authShape{"/v4/auth", "{} Authentication code: {}", "authentication exception: {}"};
inline constexpr RequestShape deauthShape{"/v4/deauth", "{} Deauthentication code: {}",
                                          "deauthentication exception: {} "};
inline constexpr RequestShape nearestMetarShape{"/v4/nearestmetar", "{} nearestmetar code_w: {}",
                                                "nearestmetar exception: {}"};
inline constexpr RequestShape weatherShape{"/v4/weather", "{} weather code_w: {}", "weather exception: {}"};
inline constexpr RequestShape parkedShape{"/v4/traffic", "{} curl parkedtraffic code_pt: {}",
                                          "parkedtraffic exception: {}"};
inline constexpr RequestShape bufferShape{"/v4/traffic", "{} buffer traffic code_t: {}",
                                          "buffer traffic exception: {}"};
inline constexpr RequestShape trafficShape{"/v4/traffic", "{} curl traffic code_t: {}", "traffic exception: {}"};

/// Steps one to three of every request: content emptied, a fresh easy
/// handle, the options in their order, the exchange. False, logged in the
/// request's own words, when libcurl fails; the handle is cleaned up either way.
bool gf_postForm(RtClient& CLIENT, const RequestShape& SHAPE, const std::string& BODY);

} // namespace orv
