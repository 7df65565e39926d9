// The simulator's client interface as the simulator link uses it: the
// handle and result types, the records that arrive through the dispatch, the
// enumerations and constants, and the functions. On Windows the simulator's
// own SDK header supplies all of it; elsewhere these declarations stand in its
// place and the stand-in client library (tavo_simconnect) implements them.
// Only sim/ and the stand-in client library include this header.
#pragma once

#if defined(_WIN32)

#include <windows.h>
#include <SimConnect.h>

#else

#include <cstdint>

// --- basic types ------------------------------------------------------------
using DWORD = std::uint32_t;
using HRESULT = std::int32_t;
using HANDLE = void*;
using HWND = void*;
using LPCSTR = const char*;
using BYTE = std::uint8_t;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);

#ifndef CALLBACK
#define CALLBACK
#endif

using SIMCONNECT_DATA_DEFINITION_ID = DWORD;
using SIMCONNECT_DATA_REQUEST_ID = DWORD;
using SIMCONNECT_OBJECT_ID = DWORD;
using SIMCONNECT_CLIENT_EVENT_ID = DWORD;
using SIMCONNECT_NOTIFICATION_GROUP_ID = DWORD;
using SIMCONNECT_DATA_REQUEST_FLAG = DWORD;
using SIMCONNECT_DATA_SET_FLAG = DWORD;
using SIMCONNECT_EVENT_FLAG = DWORD;

inline constexpr DWORD SIMCONNECT_UNUSED = 0xFFFFFFFFu;       ///< "none", e.g. the datum id
inline constexpr SIMCONNECT_OBJECT_ID SIMCONNECT_OBJECT_ID_USER = 0;
inline constexpr DWORD SIMCONNECT_GROUP_PRIORITY_HIGHEST = 1;
inline constexpr DWORD SIMCONNECT_GROUP_PRIORITY_STANDARD = 1900000000u;
inline constexpr DWORD SIMCONNECT_GROUP_PRIORITY_LOWEST = 4000000000u;
inline constexpr SIMCONNECT_EVENT_FLAG SIMCONNECT_EVENT_FLAG_DEFAULT = 0;
inline constexpr SIMCONNECT_DATA_REQUEST_FLAG SIMCONNECT_DATA_REQUEST_FLAG_DEFAULT = 0;
inline constexpr SIMCONNECT_DATA_REQUEST_FLAG SIMCONNECT_DATA_REQUEST_FLAG_CHANGED = 1;
inline constexpr SIMCONNECT_DATA_SET_FLAG SIMCONNECT_DATA_SET_FLAG_DEFAULT = 0;
inline constexpr unsigned SIMCONNECT_MAX_PATH = 260;          ///< bytes of a file name field

// --- enumerations ------------------------------------------------------------
enum SIMCONNECT_RECV_ID : DWORD {
    SIMCONNECT_RECV_ID_NULL = 0,
    SIMCONNECT_RECV_ID_EXCEPTION = 1,
    SIMCONNECT_RECV_ID_OPEN = 2,
    SIMCONNECT_RECV_ID_QUIT = 3,
    SIMCONNECT_RECV_ID_EVENT = 4,
    SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE = 5,
    SIMCONNECT_RECV_ID_EVENT_FILENAME = 6,
    SIMCONNECT_RECV_ID_EVENT_FRAME = 7,
    SIMCONNECT_RECV_ID_SIMOBJECT_DATA = 8,
    SIMCONNECT_RECV_ID_SIMOBJECT_DATA_BYTYPE = 9,
    SIMCONNECT_RECV_ID_ASSIGNED_OBJECT_ID = 12,
    SIMCONNECT_RECV_ID_CLIENT_DATA = 16,
};

enum SIMCONNECT_DATATYPE : DWORD {
    SIMCONNECT_DATATYPE_INVALID = 0,
    SIMCONNECT_DATATYPE_INT32 = 1,
    SIMCONNECT_DATATYPE_INT64 = 2,
    SIMCONNECT_DATATYPE_FLOAT32 = 3,
    SIMCONNECT_DATATYPE_FLOAT64 = 4,
    SIMCONNECT_DATATYPE_STRING8 = 5,
    SIMCONNECT_DATATYPE_STRING32 = 6,
    SIMCONNECT_DATATYPE_STRING64 = 7,
    SIMCONNECT_DATATYPE_STRING128 = 8,
    SIMCONNECT_DATATYPE_STRING256 = 9,
    SIMCONNECT_DATATYPE_STRING260 = 10,
    SIMCONNECT_DATATYPE_STRINGV = 11,
};

enum SIMCONNECT_EXCEPTION : DWORD {
    SIMCONNECT_EXCEPTION_NONE = 0,
    SIMCONNECT_EXCEPTION_ERROR = 1,
    SIMCONNECT_EXCEPTION_SIZE_MISMATCH = 2,
    SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID = 3,
    SIMCONNECT_EXCEPTION_UNOPENED = 4,
    SIMCONNECT_EXCEPTION_VERSION_MISMATCH = 5,
    SIMCONNECT_EXCEPTION_TOO_MANY_GROUPS = 6,
    SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED = 7,
    SIMCONNECT_EXCEPTION_TOO_MANY_EVENT_NAMES = 8,
    SIMCONNECT_EXCEPTION_EVENT_ID_DUPLICATE = 9,
    SIMCONNECT_EXCEPTION_TOO_MANY_MAPS = 10,
    SIMCONNECT_EXCEPTION_TOO_MANY_OBJECTS = 11,
    SIMCONNECT_EXCEPTION_TOO_MANY_REQUESTS = 12,
    SIMCONNECT_EXCEPTION_INVALID_DATA_TYPE = 18,
    SIMCONNECT_EXCEPTION_INVALID_DATA_SIZE = 19,
    SIMCONNECT_EXCEPTION_DATA_ERROR = 20,
    SIMCONNECT_EXCEPTION_INVALID_ARRAY = 21,
    SIMCONNECT_EXCEPTION_CREATE_OBJECT_FAILED = 22,
    SIMCONNECT_EXCEPTION_LOAD_FLIGHTPLAN_FAILED = 23,
    SIMCONNECT_EXCEPTION_OPERATION_INVALID_FOR_OBJECT_TYPE = 24,
    SIMCONNECT_EXCEPTION_ILLEGAL_OPERATION = 25,
};

enum SIMCONNECT_PERIOD : DWORD {
    SIMCONNECT_PERIOD_NEVER = 0,
    SIMCONNECT_PERIOD_ONCE = 1,
    SIMCONNECT_PERIOD_VISUAL_FRAME = 2,
    SIMCONNECT_PERIOD_SIM_FRAME = 3,
    SIMCONNECT_PERIOD_SECOND = 4,
};

enum SIMCONNECT_SIMOBJECT_TYPE : DWORD {
    SIMCONNECT_SIMOBJECT_TYPE_USER = 0,
    SIMCONNECT_SIMOBJECT_TYPE_ALL = 1,
    SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT = 2,
    SIMCONNECT_SIMOBJECT_TYPE_HELICOPTER = 3,
    SIMCONNECT_SIMOBJECT_TYPE_BOAT = 4,
    SIMCONNECT_SIMOBJECT_TYPE_GROUND = 5,
};

// --- records -------------------------------------------------------------------
// Packed like the simulator's own, so that the data after a header starts at
// dwData without padding; read multi-byte data out of it with memcpy.
#pragma pack(push, 1)

/// Where and how an AI aircraft starts: degrees, feet, knots.
struct SIMCONNECT_DATA_INITPOSITION {
    double Latitude;
    double Longitude;
    double Altitude;
    double Pitch;
    double Bank;
    double Heading;
    DWORD OnGround;
    DWORD Airspeed;
};

struct SIMCONNECT_RECV {
    DWORD dwSize;
    DWORD dwVersion;
    DWORD dwID;
};

struct SIMCONNECT_RECV_EXCEPTION : SIMCONNECT_RECV {
    DWORD dwException;
    DWORD dwSendID; ///< the packet id of the call that failed
    DWORD dwIndex;  ///< which of the call's arguments was at fault, or SIMCONNECT_UNUSED
};

struct SIMCONNECT_RECV_OPEN : SIMCONNECT_RECV {
    char szApplicationName[256];
    DWORD dwApplicationVersionMajor;
    DWORD dwApplicationVersionMinor;
    DWORD dwApplicationBuildMajor;
    DWORD dwApplicationBuildMinor;
    DWORD dwSimConnectVersionMajor;
    DWORD dwSimConnectVersionMinor;
    DWORD dwSimConnectBuildMajor;
    DWORD dwSimConnectBuildMinor;
    DWORD dwReserved1;
    DWORD dwReserved2;
};

struct SIMCONNECT_RECV_QUIT : SIMCONNECT_RECV {};

struct SIMCONNECT_RECV_EVENT : SIMCONNECT_RECV {
    DWORD uGroupID;
    DWORD uEventID;
    DWORD dwData;
};

struct SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE : SIMCONNECT_RECV_EVENT {
    SIMCONNECT_SIMOBJECT_TYPE eObjType;
};

struct SIMCONNECT_RECV_EVENT_FILENAME : SIMCONNECT_RECV_EVENT {
    char szFileName[SIMCONNECT_MAX_PATH];
    DWORD dwFlags;
};

struct SIMCONNECT_RECV_EVENT_FRAME : SIMCONNECT_RECV_EVENT {
    float fFrameRate;
    float fSimSpeed;
};

struct SIMCONNECT_RECV_SIMOBJECT_DATA : SIMCONNECT_RECV {
    DWORD dwRequestID;
    DWORD dwObjectID;
    DWORD dwDefineID;
    DWORD dwFlags;
    DWORD dwentrynumber; ///< 1-based, for replies that come in a series
    DWORD dwoutof;       ///< the size of the series
    DWORD dwDefineCount; ///< number of data fields
    DWORD dwData;        ///< first word of the data; the rest follows
};

struct SIMCONNECT_RECV_SIMOBJECT_DATA_BYTYPE : SIMCONNECT_RECV_SIMOBJECT_DATA {};

struct SIMCONNECT_RECV_ASSIGNED_OBJECT_ID : SIMCONNECT_RECV {
    DWORD dwRequestID;
    DWORD dwObjectID;
};

#pragma pack(pop)

using DispatchProc = void (*)(SIMCONNECT_RECV* pData, DWORD cbData, void* pContext);

// --- functions -------------------------------------------------------------------
// Every function answers S_OK when the call went out; the simulator's own
// objections come back later as SIMCONNECT_RECV_EXCEPTION with the call's
// packet id in dwSendID.

HRESULT SimConnect_Open(HANDLE* phSimConnect, LPCSTR szName, HWND hWnd, DWORD UserEventWin32,
                        HANDLE hEventHandle, DWORD ConfigIndex);
HRESULT SimConnect_Close(HANDLE hSimConnect);
HRESULT SimConnect_CallDispatch(HANDLE hSimConnect, DispatchProc pfcnDispatch, void* pContext);
HRESULT SimConnect_GetLastSentPacketID(HANDLE hSimConnect, DWORD* pdwSendID);

HRESULT SimConnect_SubscribeToSystemEvent(HANDLE hSimConnect, SIMCONNECT_CLIENT_EVENT_ID EventID,
                                          const char* SystemEventName);
HRESULT SimConnect_UnsubscribeFromSystemEvent(HANDLE hSimConnect, SIMCONNECT_CLIENT_EVENT_ID EventID);

HRESULT SimConnect_AddToDataDefinition(HANDLE hSimConnect, SIMCONNECT_DATA_DEFINITION_ID DefineID,
                                       const char* DatumName, const char* UnitsName,
                                       SIMCONNECT_DATATYPE DatumType = SIMCONNECT_DATATYPE_FLOAT64,
                                       float fEpsilon = 0, DWORD DatumID = SIMCONNECT_UNUSED);
HRESULT SimConnect_ClearDataDefinition(HANDLE hSimConnect, SIMCONNECT_DATA_DEFINITION_ID DefineID);

HRESULT SimConnect_RequestDataOnSimObject(HANDLE hSimConnect, SIMCONNECT_DATA_REQUEST_ID RequestID,
                                          SIMCONNECT_DATA_DEFINITION_ID DefineID,
                                          SIMCONNECT_OBJECT_ID ObjectID, SIMCONNECT_PERIOD Period,
                                          SIMCONNECT_DATA_REQUEST_FLAG Flags = 0, DWORD origin = 0,
                                          DWORD interval = 0, DWORD limit = 0);
HRESULT SimConnect_RequestDataOnSimObjectType(HANDLE hSimConnect, SIMCONNECT_DATA_REQUEST_ID RequestID,
                                              SIMCONNECT_DATA_DEFINITION_ID DefineID, DWORD dwRadiusMeters,
                                              SIMCONNECT_SIMOBJECT_TYPE type);
HRESULT SimConnect_SetDataOnSimObject(HANDLE hSimConnect, SIMCONNECT_DATA_DEFINITION_ID DefineID,
                                      SIMCONNECT_OBJECT_ID ObjectID, SIMCONNECT_DATA_SET_FLAG Flags,
                                      DWORD ArrayCount, DWORD cbUnitSize, void* pDataSet);

HRESULT SimConnect_AICreateNonATCAircraft(HANDLE hSimConnect, const char* szContainerTitle,
                                          const char* szTailNumber, SIMCONNECT_DATA_INITPOSITION InitPos,
                                          SIMCONNECT_DATA_REQUEST_ID RequestID);
HRESULT SimConnect_AIRemoveObject(HANDLE hSimConnect, SIMCONNECT_OBJECT_ID ObjectID,
                                  SIMCONNECT_DATA_REQUEST_ID RequestID);
HRESULT SimConnect_AIReleaseControl(HANDLE hSimConnect, SIMCONNECT_OBJECT_ID ObjectID,
                                    SIMCONNECT_DATA_REQUEST_ID RequestID);
HRESULT SimConnect_AISetAircraftFlightPlan(HANDLE hSimConnect, SIMCONNECT_OBJECT_ID ObjectID,
                                           const char* szFlightPlanPath, SIMCONNECT_DATA_REQUEST_ID RequestID);

HRESULT SimConnect_MapClientEventToSimEvent(HANDLE hSimConnect, SIMCONNECT_CLIENT_EVENT_ID EventID,
                                            const char* EventName = "");
HRESULT SimConnect_TransmitClientEvent(HANDLE hSimConnect, SIMCONNECT_OBJECT_ID ObjectID,
                                       SIMCONNECT_CLIENT_EVENT_ID EventID, DWORD dwData,
                                       SIMCONNECT_NOTIFICATION_GROUP_ID GroupID, SIMCONNECT_EVENT_FLAG Flags);
HRESULT SimConnect_AddClientEventToNotificationGroup(HANDLE hSimConnect, SIMCONNECT_NOTIFICATION_GROUP_ID GroupID,
                                                     SIMCONNECT_CLIENT_EVENT_ID EventID, bool bMaskable = false);
HRESULT SimConnect_SetNotificationGroupPriority(HANDLE hSimConnect, SIMCONNECT_NOTIFICATION_GROUP_ID GroupID,
                                                DWORD uPriority);

/// Copies a STRINGV field out of a data block: pDataData points at it, cbData
/// is what is left of the block; *pStringV gets the text, *pcbStringV its
/// bytes with padding, so the next field starts that far on.
HRESULT SimConnect_RetrieveString(SIMCONNECT_RECV* pData, DWORD cbData, void* pStringV, char** pStringV_out,
                                  DWORD* pcbStringV);

#endif
