// The QNH out of the weather answers, and the two lamps of the readers.
#include <cmath>
#include <string>

#include <fmt/format.h>

#include "core/log.h"
#include "core/window_state.h"
#include "feed/feed.h"
#include "feed/rt_client.h"

namespace orv {

namespace {

/// Above this a value is hundredths of an inch of mercury.
constexpr double highestHpa = 1080;
constexpr double lowestHpa = 930;
constexpr double hpaPerHundredthInch = 0.33865307;

/// The value of data.QNH in hPa or hundredths of an inch; none when there is
/// no value of a usable kind. A text that is no number throws, as the
/// conversion does.
std::optional<long> lf_qnhValue(const nlohmann::json& DATA)
{
    if (!DATA.is_object()) return std::nullopt;
    const auto it = DATA.find("QNH");
    if (it == DATA.end()) return std::nullopt;
    if (it->is_number_integer()) return it->get<long>();
    if (it->is_number_float()) return std::lround(it->get<double>());
    if (it->is_string()) return std::stol(it->get<std::string>());
    return std::nullopt;
}

} // namespace

void gf_takeQnh(const nlohmann::json& DATA, const std::string& CONTENT, RtClient& TRAFFIC)
{
    const auto found = lf_qnhValue(DATA);
    if (!found) {
        gf_log(fmt::format("No QNH found in {}", CONTENT));
        return;
    }
    long value = *found;
    if (value > highestHpa) value = std::lround(static_cast<double>(value) * hpaPerHundredthInch);
    if (value < lowestHpa || value > highestHpa) {
        gf_log(fmt::format("Strange QNH {} found in {}", value, CONTENT));
        return;
    }
    if (!gf_clientIsCurrent(TRAFFIC)) return;
    if (value == qnhShown && value != standardQnh) return;
    const auto hpa = static_cast<std::int32_t>(value);
    qnhShown = hpa;
    TRAFFIC.qnh = hpa;
    qnhEngine = hpa;
    std::int32_t waiting = lampWaiting;
    weatherLamp.compare_exchange_strong(waiting, lampGood);
    gf_repaint();
}

void gf_setReaderLampsWaiting()
{
    weatherLamp = lampWaiting;
    trafficLamp = lampWaiting;
    weatherShown = false;
    trafficShown = false;
    gf_repaint();
}

void lf_updateLamps()
{
    if (!rtConnected) return;
    const auto follow = [](bool VALID, bool& SHOWN, std::atomic<std::int32_t>& LAMP) {
        if (VALID && !SHOWN) {
            LAMP = lampGood;
            SHOWN = true;
            gf_repaint();
        } else if (!VALID && SHOWN) {
            LAMP = lampWaiting;
            SHOWN = false;
            gf_repaint();
        }
    };
    follow(weatherValid, weatherShown, weatherLamp);
    follow(lineCount > 0, trafficShown, trafficLamp);
}

} // namespace orv
