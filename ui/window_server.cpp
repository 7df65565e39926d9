// The window's web server on 127.0.0.1: the page, the bands pushed as
// server-sent events (a band is sent only when its picture changed), and the
// commands. A command changes state, so it is taken only as a JSON POST with
// the process's token, from this server's own origin: a page of another site
// can neither read the token nor send a form that passes.
#include "ui/window.h"

#include "core/log.h"
#include "core/parameters.h"
#include "core/window_state.h"
#include "ui/band_json.h"
#include "ui/commands.h"
#include "ui/page_files.h"
#include "ui/traffic_view.h"

#include <fmt/format.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <charconv>
#include <chrono>
#include <map>
#include <memory>
#include <random>
#include <thread>

namespace orv {

namespace {

/// A stream looks for news this often; the bands are painted again only when
/// a repaint was asked for or a status changed, and at least every half second.
constexpr auto pollPeriod = std::chrono::milliseconds(20);
constexpr auto fullPaintPeriod = std::chrono::milliseconds(500);
constexpr auto keepAlivePeriod = std::chrono::seconds(15);
constexpr int reconnectMs = 1000;
constexpr std::size_t serverThreads = 16;
constexpr int forbidden = 403, notAllowed = 405, conflict = 409, badRequest = 400, unsupportedType = 415;

struct WindowServer {
    httplib::Server http;
    std::thread thread;
    int port = 0;
    std::string token;    ///< in the page and nowhere else
    std::string instance; ///< tells an open page that a new process answers
    std::atomic<bool> stopping{false};
    std::mutex trafficTextMutex;          ///< the two below; a leaf lock
    std::uint64_t trafficTextNumber = 0;  ///< the snapshot that trafficText shows
    std::string trafficText;              ///< serialised once, shared by every open traffic page
};

/// Event streams open now, one per page; any thread reads it.
std::atomic<int> pagesOpen{0};

/// Counts a page's stream for as long as its provider lives.
struct PageOpen {
    PageOpen() { ++pagesOpen; }
    ~PageOpen() { --pagesOpen; }
    PageOpen(const PageOpen&) = delete;
    PageOpen& operator=(const PageOpen&) = delete;
};

std::mutex serverMutex; ///< the pointer below; a leaf lock
std::unique_ptr<WindowServer> server;

std::string lf_randomHex(int BYTES)
{
    std::random_device random;
    std::string text;
    for (int k = 0; k < BYTES; ++k) text += fmt::format("{:02x}", random() & 0xFF);
    return text;
}

bool lf_sameText(const std::string& A, const std::string& B)
{
    if (A.size() != B.size()) return false;
    unsigned char differ = 0;
    for (std::size_t k = 0; k < A.size(); ++k) differ |= static_cast<unsigned char>(A[k] ^ B[k]);
    return differ == 0;
}

/// The names this server answers to; any other Host is a rebound name.
bool lf_hostAllowed(const WindowServer& S, const std::string& HOST)
{
    return HOST == fmt::format("127.0.0.1:{}", S.port) || HOST == fmt::format("localhost:{}", S.port);
}

void lf_refuse(httplib::Response& RES, int STATUS, const std::string& WHY)
{
    RES.status = STATUS;
    RES.set_content(nlohmann::json{{"ok", false}, {"error", WHY}}.dump(), "application/json");
}

/// Empty when the request may change state; else why not.
std::string lf_commandRefusal(const WindowServer& S, const httplib::Request& REQ)
{
    if (!REQ.get_header_value("Content-Type").starts_with("application/json")) return "not a JSON request";
    const std::string origin = REQ.get_header_value("Origin");
    if (!origin.empty() && !lf_hostAllowed(S, origin.starts_with("http://") ? origin.substr(7) : origin))
        return "foreign origin";
    const std::string site = REQ.get_header_value("Sec-Fetch-Site");
    if (!site.empty() && site != "same-origin") return "cross-site request";
    if (!lf_sameText(REQ.get_header_value("X-Tavo-Token"), S.token)) return "no valid token";
    return {};
}

void lf_command(WindowServer& S, const httplib::Request& REQ, httplib::Response& RES)
{
    if (const std::string refusal = lf_commandRefusal(S, REQ); !refusal.empty()) {
        gf_log(fmt::format("! Window: a command was refused ({})", refusal));
        lf_refuse(RES, refusal == "not a JSON request" ? unsupportedType : forbidden, refusal);
        return;
    }
    nlohmann::json body = nlohmann::json::parse(REQ.body, nullptr, false);
    if (!body.is_object() || !body.value("command", nlohmann::json()).is_string()) {
        lf_refuse(RES, badRequest, "no command");
        return;
    }
    const std::string command = body["command"], id = body.value("id", std::string());
    nlohmann::json answer = {{"ok", true}};
    if (command == "click") {
        answer["ok"] = gf_click(id);
    } else if (command == "enter") {
        const std::optional<std::string> shown = gf_enter(id, body.value("text", std::string()));
        answer["ok"] = shown.has_value();
        if (shown) answer["shown"] = *shown;
    } else if (command == "close") {
        gf_closeCommand();
    } else {
        answer["ok"] = false;
    }
    if (!answer["ok"]) RES.status = conflict;
    RES.set_content(answer.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace), "application/json");
}

std::string lf_event(const char* NAME, const std::string& DATA) { return fmt::format("event: {}\ndata: {}\n\n", NAME, DATA); }

/// What a band stream has seen: the bands' pictures and the change counters.
struct BandStream {
    std::map<Band, std::string> sent;
    std::uint64_t generation = ~0ull;
    std::chrono::steady_clock::time_point painted, quietSince = std::chrono::steady_clock::now();
};

std::uint64_t lf_windowGeneration()
{
    return (static_cast<std::uint64_t>(windowGeneration.load()) << 32) | statusGeneration.load();
}

std::string lf_greeting(const WindowServer& S)
{
    return fmt::format("retry: {}\n\n", reconnectMs) + lf_event("hello", nlohmann::json{{"instance", S.instance}}.dump());
}

/// Writes OUT, or a keep-alive line after a long quiet; false when the page has gone.
bool lf_write(httplib::DataSink& SINK, std::string& OUT, std::chrono::steady_clock::time_point& QUIET_SINCE)
{
    const auto now = std::chrono::steady_clock::now();
    if (OUT.empty() && now - QUIET_SINCE >= keepAlivePeriod) OUT = ": still here\n\n";
    if (OUT.empty()) return true;
    QUIET_SINCE = now;
    return SINK.write(OUT.data(), OUT.size());
}

/// One page's stream: a greeting, then each band whenever its picture changed.
void lf_events(WindowServer& S, httplib::Response& RES)
{
    auto stream = std::make_shared<BandStream>();
    auto open = std::make_shared<PageOpen>();
    RES.set_header("Cache-Control", "no-store");
    RES.set_chunked_content_provider("text/event-stream", [&S, stream, open](std::size_t, httplib::DataSink& SINK) {
        std::string out;
        if (stream->sent.empty()) out = lf_greeting(S);
        else std::this_thread::sleep_for(pollPeriod);
        if (S.stopping) {
            SINK.done();
            return true;
        }
        const auto now = std::chrono::steady_clock::now();
        const std::uint64_t generation = lf_windowGeneration();
        if (generation != stream->generation || now - stream->painted >= fullPaintPeriod) {
            stream->generation = generation;
            stream->painted = now;
            for (Band band : allBands) {
                std::string json = gf_bandJson(band);
                if (stream->sent[band] == json) continue;
                out += lf_event("band", json);
                stream->sent[band] = std::move(json);
            }
        }
        return lf_write(SINK, out, stream->quietSince);
    });
}

/// The latest snapshot's text, serialised by the first page that asks for it.
std::pair<std::uint64_t, std::string> lf_trafficText(WindowServer& S)
{
    const auto snapshot = gf_trafficSnapshot();
    std::lock_guard lock(S.trafficTextMutex);
    if (S.trafficTextNumber != snapshot->number || S.trafficText.empty()) {
        S.trafficText = gf_trafficJson(*snapshot);
        S.trafficTextNumber = snapshot->number;
    }
    return {S.trafficTextNumber, S.trafficText};
}

/// The traffic page's stream: a greeting, then each new snapshot.
void lf_trafficEvents(WindowServer& S, httplib::Response& RES)
{
    struct Seen {
        bool greeted = false;
        std::uint64_t number = ~0ull;
        std::chrono::steady_clock::time_point quietSince = std::chrono::steady_clock::now();
    };
    auto seen = std::make_shared<Seen>();
    RES.set_header("Cache-Control", "no-store");
    RES.set_chunked_content_provider("text/event-stream", [&S, seen](std::size_t, httplib::DataSink& SINK) {
        std::string out;
        if (!seen->greeted) out = lf_greeting(S);
        else std::this_thread::sleep_for(pollPeriod);
        seen->greeted = true;
        if (S.stopping) {
            SINK.done();
            return true;
        }
        if (gf_trafficSnapshot()->number != seen->number) {
            auto [number, text] = lf_trafficText(S);
            seen->number = number;
            out += lf_event("traffic", text);
        }
        return lf_write(SINK, out, seen->quietSince);
    });
}

void lf_story(const httplib::Request& REQ, httplib::Response& RES)
{
    const std::string hex = REQ.get_param_value("hex");
    std::uint32_t hexid = 0;
    const auto [end, error] = std::from_chars(hex.data(), hex.data() + hex.size(), hexid, 16);
    if (hex.empty() || error != std::errc() || end != hex.data() + hex.size()) {
        lf_refuse(RES, badRequest, "no aircraft");
        return;
    }
    RES.set_content(gf_storyJson(hexid), "application/json");
}

std::string lf_page(const WindowServer& S, std::string_view NAME)
{
    std::string page(gf_pageFile(NAME));
    for (const auto& [mark, value] : {std::pair{std::string("{{TOKEN}}"), S.token}, std::pair{std::string("{{INSTANCE}}"), S.instance}})
        for (std::size_t at = page.find(mark); at != std::string::npos; at = page.find(mark)) page.replace(at, mark.size(), value);
    return page;
}

void lf_routes(WindowServer& S)
{
    httplib::Server& h = S.http;
    h.set_pre_routing_handler([&S](const httplib::Request& REQ, httplib::Response& RES) {
        if (lf_hostAllowed(S, REQ.get_header_value("Host"))) return httplib::Server::HandlerResponse::Unhandled;
        lf_refuse(RES, forbidden, "unknown host");
        return httplib::Server::HandlerResponse::Handled;
    });
    h.set_default_headers({{"X-Content-Type-Options", "nosniff"},
                           {"X-Frame-Options", "DENY"},
                           {"Referrer-Policy", "no-referrer"},
                           {"Cache-Control", "no-store"},
                           {"Content-Security-Policy", "default-src 'self'; frame-ancestors 'none'; form-action 'none'; "
                                                       "base-uri 'none'; object-src 'none'"}});
    h.Get("/", [&S](const httplib::Request&, httplib::Response& RES) {
        RES.set_content(lf_page(S, "window.html"), "text/html; charset=utf-8");
    });
    h.Get("/traffic", [&S](const httplib::Request&, httplib::Response& RES) {
        RES.set_content(lf_page(S, "traffic.html"), "text/html; charset=utf-8");
    });
    for (const char* name : {"window.js", "traffic.js"})
        h.Get(fmt::format("/{}", name), [name](const httplib::Request&, httplib::Response& RES) {
            RES.set_content(std::string(gf_pageFile(name)), "text/javascript; charset=utf-8");
        });
    for (const char* name : {"window.css", "traffic.css"})
        h.Get(fmt::format("/{}", name), [name](const httplib::Request&, httplib::Response& RES) {
            RES.set_content(std::string(gf_pageFile(name)), "text/css; charset=utf-8");
        });
    h.Get("/events", [&S](const httplib::Request&, httplib::Response& RES) { lf_events(S, RES); });
    h.Get("/traffic/events", [&S](const httplib::Request&, httplib::Response& RES) { lf_trafficEvents(S, RES); });
    h.Get("/traffic/story", [](const httplib::Request& REQ, httplib::Response& RES) { lf_story(REQ, RES); });
    h.Post("/api/command", [&S](const httplib::Request& REQ, httplib::Response& RES) { lf_command(S, REQ, RES); });
    const auto onlyPost = [](const httplib::Request&, httplib::Response& RES) {
        RES.set_header("Allow", "POST");
        lf_refuse(RES, notAllowed, "commands are POST only");
    };
    h.Get("/api/.*", onlyPost);
    h.Put("/api/.*", onlyPost);
    h.Delete("/api/.*", onlyPost);
    h.Options("/api/.*", onlyPost);
}

} // namespace

bool gf_openWindow()
{
    std::lock_guard lock(serverMutex);
    if (server) return true;
    auto s = std::make_unique<WindowServer>();
    s->token = lf_randomHex(16);
    s->instance = lf_randomHex(8);
    s->http.set_keep_alive_timeout(1);
    // Each open page holds one worker for its stream: room for a few pages and their requests.
    s->http.new_task_queue = [] { return new httplib::ThreadPool(serverThreads); };
    lf_routes(*s);
    const int wanted = WINDOW_PORT.value;
    s->port = wanted == 0 ? s->http.bind_to_any_port("127.0.0.1") : (s->http.bind_to_port("127.0.0.1", wanted) ? wanted : -1);
    if (s->port <= 0) {
        gf_logWarning(fmt::format("Window: 127.0.0.1:{} cannot be had, no window this time", wanted));
        return false;
    }
    WindowServer* raw = s.get();
    s->thread = std::thread([raw] { raw->http.listen_after_bind(); });
    server = std::move(s);
    gf_log(fmt::format("Window: http://127.0.0.1:{}/", server->port));
    return true;
}

void gf_closeWindowServer()
{
    std::unique_ptr<WindowServer> s;
    {
        std::lock_guard lock(serverMutex);
        s = std::move(server);
    }
    if (!s) return;
    s->stopping = true;
    s->http.stop();
    if (s->thread.joinable()) s->thread.join();
}

int gf_pagesOpen() { return pagesOpen; }

int gf_windowPort()
{
    std::lock_guard lock(serverMutex);
    return server ? server->port : 0;
}

std::string gf_windowAddress()
{
    const int port = gf_windowPort();
    return port == 0 ? std::string() : fmt::format("http://127.0.0.1:{}/", port);
}

} // namespace orv
