// Every setting of the program as one global object, read directly by name
// (`LATERAL_RANGE.value`), and the store `parameters.xml` in the user folder.
//
// Values are plain: the window thread changes a bool or an integer with one
// store and the main thread reads it at its own pace. A text is not one
// store: one that another thread reads while it may change (BLOCK_CALLSIGN,
// copied by the traffic reader for each answer) is read with gf_textOf and
// changed with gf_setText. Other texts are changed only while nothing reads
// them (commands that restart, FinalExit).
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <filesystem>
#include <string>
#include <vector>

namespace orv {

/// Where a setting sits on the window; the window binds it by commandId.
struct Control {
    std::uint16_t commandId = 0;
    int row = 0;
    std::string caption;
    bool enabled = false;
    bool emptied = false; ///< an edit box that shows nothing, whatever its value
};

class Parameter {
public:
    explicit Parameter(std::string NAME) : name(std::move(NAME)) {}
    virtual ~Parameter() = default;
    Parameter(const Parameter&) = delete;
    Parameter& operator=(const Parameter&) = delete;
    std::string name; ///< the attribute `name` in parameters.xml
};

template <typename T>
class ParameterOf : public Parameter {
public:
    ParameterOf(std::string NAME, T DEFAULT, T MINIMUM, T MAXIMUM)
        : Parameter(std::move(NAME)), defaultValue(DEFAULT), minimum(MINIMUM), maximum(MAXIMUM), value(DEFAULT)
    {
    }
    ParameterOf(std::string NAME, T DEFAULT) : ParameterOf(std::move(NAME), DEFAULT, DEFAULT, DEFAULT) {}
    T defaultValue;
    T minimum;
    T maximum;
    T value;
};

class CheckBox : public ParameterOf<bool>, public Control {
public:
    CheckBox(std::string NAME, bool DEFAULT, std::string CAPTION)
        : ParameterOf<bool>(std::move(NAME), DEFAULT), Control{0, 0, std::move(CAPTION), true}
    {
    }
};
class IntBox : public ParameterOf<int>, public Control {
public:
    IntBox(std::string NAME, int DEFAULT, int MINIMUM, int MAXIMUM, std::string CAPTION)
        : ParameterOf<int>(std::move(NAME), DEFAULT, MINIMUM, MAXIMUM), Control{0, 0, std::move(CAPTION), false}
    {
    }
};
class FloatBox : public ParameterOf<float>, public Control {
public:
    FloatBox(std::string NAME, float DEFAULT, float MINIMUM, float MAXIMUM, std::string CAPTION)
        : ParameterOf<float>(std::move(NAME), DEFAULT, MINIMUM, MAXIMUM), Control{0, 0, std::move(CAPTION), false}
    {
    }
};
class TextBox : public ParameterOf<std::string>, public Control {
public:
    TextBox(std::string NAME, std::string DEFAULT, std::string CAPTION)
        : ParameterOf<std::string>(std::move(NAME), std::move(DEFAULT)), Control{0, 0, std::move(CAPTION), false}
    {
    }
};
/// A button has no stored value: its name is its caption.
class Button : public Parameter, public Control {
public:
    explicit Button(std::string CAPTION) : Parameter(CAPTION), Control{0, 0, std::move(CAPTION), false} {}
};

using BoolParameter = ParameterOf<bool>;
using IntParameter = ParameterOf<int>;
using TextParameter = ParameterOf<std::string>;

// --- the settings (defaults and limits are the ones the user knows) ----------
extern CheckBox MSFS_2020; ///< active simulator: true MSFS 2020, false MSFS 2024
extern TextParameter MSFS_INSTALL_PATH;
extern TextParameter MSFS_2024_INSTALL_PATH;
extern TextBox ALL_INSTALL_PATH; ///< session only: the box with the active simulator's path
extern TextParameter PROGRAM_INSTALL_PATH;
extern TextParameter PROGRAM_VERSION;
extern TextParameter MYSIMADDON24_VERSION;
extern CheckBox SCAN_LIVERIES;
extern CheckBox LIG_AUTOMATIC;
extern IntBox AI_PACKAGE_ORDER;
extern CheckBox LIG_PRIORITIZE;
extern CheckBox SUPPRESS_STUB;
extern TextParameter lfolder[10]; ///< stored only when not empty
extern CheckBox SCAN_AIRPORTS;
extern CheckBox LOG;
extern CheckBox ALWAYS_ON_TOP;
extern CheckBox NAV_LIGHTS_WHILE_PARKED;
extern CheckBox LEARN_SOFT;
extern IntBox MATCHING_DEPTH;
extern CheckBox LIGHT_AIRCRAFT;
extern CheckBox HELICOPTERS;
extern CheckBox HIGH_PERF_AIRCRAFT;
extern CheckBox GUID_CHANGES;
extern CheckBox CALLSIGN_OBJECTIDS;
extern IntBox LATERAL_RANGE; ///< nautical miles
extern CheckBox AUTO_RANGE;
extern IntBox AUTO_RANGE_ABOVE_HEIGHT; ///< feet
extern TextBox CALLSIGN_2_OBJECTID;    ///< session only
extern TextBox BLOCK_CALLSIGN;
extern CheckBox COLLISION_USER_GND;
extern CheckBox COLLISION_USER_AIR;
extern CheckBox COLLISION_LIVE_PARKED_GND;
extern IntBox CUSTOM_MAX_PARK;
extern IntBox MAX_LIVE;
extern CheckBox STRAIGHT_PBS_ONLY;
extern TextBox DESTINATION;
extern IntBox AIRPORT_RANGE;  ///< nautical miles
extern IntBox AIRPORT_HEIGHT; ///< feet
extern CheckBox PARK_FAKE;
extern CheckBox WEEK;
extern CheckBox PARK_SOFT;
extern IntBox parking_percentage; ///< session only, 30 at each start
extern IntParameter CUSTOM_PARKING_PERCENTAGE;
extern CheckBox INITIAL_LOAD_ONLY;
extern FloatBox MAX_FIT_FL; ///< hours, session only: the shown value of MAX_FIT
extern IntParameter MAX_FIT; ///< half hours less one
extern CheckBox RT_PARKTRAFFIC_ONLY;
extern IntBox TIME_SHIFT_DAYS;
extern IntBox TIME_SHIFT_HOURS;
extern IntBox TIME_SHIFT_MINS;
extern CheckBox SIM_TIME;
extern CheckBox KEEP_SIM_TIME_PAR;
extern IntParameter MAIN_WINDOW_X;
extern IntParameter MAIN_WINDOW_Y;
extern IntParameter WINDOW_PORT; ///< the window's local web address 127.0.0.1:PORT; 0 picks a free port
/// Seconds an error at start-up waits for a page to show it; with none open
/// by then the process ends with the error's status instead of idling.
extern IntParameter HEADLESS_WAIT_SECONDS;
extern IntParameter LAST_EPOCH_TIME; ///< Unix seconds of the last contact with the traffic service
extern IntParameter HOLDING_THRESHOLD_METERS;
extern IntParameter MAX_HOLDING_MINUTES;
// Where the remote services live; tests and the demo point them at the stand-ins.
extern TextParameter RT_API_URL;   ///< base address of the traffic service, no trailing slash
extern TextParameter RT_LICENSE;   ///< the traffic service credential
extern TextParameter DOWNLOAD_URL; ///< the download server's folder, ending in a slash
extern Button UNBLOCK_BUTTON, REREAD_BUTTON, FLUSH_STATIC_BUTTON;

/// The parameters by kind, in the order they are read and first written.
struct ParameterLists {
    std::vector<BoolParameter*> bools;
    std::vector<CheckBox*> checkBoxes;
    std::vector<IntParameter*> ints;
    std::vector<IntBox*> intBoxes;
    std::vector<TextParameter*> texts;
    std::vector<TextBox*> textBoxes;
};
/// The stored parameters, grouped by kind.
ParameterLists gf_parameterLists();

/// The file in the user folder.
std::filesystem::path gf_parametersPath();
/// The last good copy: written beside parameters.xml with every write of
/// it, read when parameters.xml is found damaged.
std::filesystem::path gf_goodCopyPath();
/// Writes of parameters.xml in this process (any thread).
extern std::atomic<std::int64_t> parameterWrites;

/// Reads parameters.xml, adds what it lacks, handles a version change. A
/// damaged file is kept aside under a name of its own and the last good copy
/// is read in its place (the defaults when there is none); the user is told.
/// The file is written only when what it holds changed.
void lf_readParameters(const ParameterLists& LISTS);
/// Stores the version that runs; after an update forces both scans.
void lf_versionUpdate();

/// Stores one value in parameters.xml at once; callable from any thread. A
/// value the file already holds is not written again. A file that cannot be
/// read is kept aside (parameters.damaged-<time>.xml) and the whole set in
/// memory is written instead.
void gf_save(const BoolParameter& PARAMETER);
void gf_save(const IntParameter& PARAMETER);
void gf_save(const TextParameter& PARAMETER);
/// Stores the value clamped into its limits first.
void gf_saveClamped(IntParameter& PARAMETER);

/// A text setting copied or changed whole, under a leaf lock of its own: for
/// the texts that other threads read while the window or the exit changes them.
std::string gf_textOf(const TextParameter& PARAMETER);
void gf_setText(TextParameter& PARAMETER, std::string VALUE);

/// Reading rules of the file: the first character decides a boolean; an
/// integer is converted like atoi and clamped.
bool gf_readBool(const char* VALUE);
int gf_readInt(const char* VALUE, int MINIMUM, int MAXIMUM);
/// An integer as atoi reads it, or nothing when the text holds no number at
/// all ("forty", ""): such a value keeps the one the parameter had.
std::optional<int> gf_parseInt(const char* VALUE);

/// The window position stored at the last exit; a value on a limit (a window
/// minimised far outside) is replaced by the default. No log line.
int gf_readWindowPosition(IntParameter& PARAMETER);
/// One integer as stored, clamped, before the parameters are read; the
/// default when the file or the entry is missing. No log line.
int gf_readEarly(IntParameter& PARAMETER);

/// MAX_FIT_FL shown for MAX_FIT: half hours less one to hours.
inline float gf_maxFitHours(int MAX_FIT_VALUE) { return static_cast<float>(MAX_FIT_VALUE) * 0.5f + 0.5f; }

/// Sets every parameter back to its default (tests and a fresh process).
void gf_resetParameters();

} // namespace orv
