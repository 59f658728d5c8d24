#ifndef QDX_EVENTS_H
#define QDX_EVENTS_H

#include "JsonValue.h"
#include "QdxExport.h"
#include "QdxResult.h"
#include "QdxString.h"

/// Events, heartbeats, crashes, flows, device identifiers and versions,
/// answered by the core library "QdxSDKCore.so". Each call sends one message
/// and returns the core library's result code (see QdxResult.h), unless said
/// otherwise. Any thread may call.
namespace Norvane {
namespace QDXDesktopSDK {

namespace Facet {
class Core;
class User;
}  // namespace Facet

/// Which heartbeat `HeartBeat` sends.
enum HeartBeatType : int {
    HeartBeatType_Machine = 0,  ///< sent as "machine"
    HeartBeatType_User = 1,     ///< sent as "user"
};

/// The step of a flow that `UpdateLiFlow` reports.
enum LiFlowType : int {
    LiFlowType_FlowStart = 0,    ///< sent as "flow_start"
    LiFlowType_FlowEnd = 1,      ///< sent as "flow_end"
    LiFlowType_NotRequired = 2,  ///< sent as "not_required"
};

/// The kind of update that `UpdateLiData` reports.
enum LiUpdateType : int {
    LiUpdateType_AuthCall = 0,    ///< sent as "auth_call"
    LiUpdateType_ModalStart = 1,  ///< sent as "modal_start"
    LiUpdateType_ModalEnd = 2,    ///< sent as "modal_end"
    LiUpdateType_Data = 3,        ///< sent as "data"
};

/// Which part of a version `GetVersion` returns; for this library (no
/// module named) 5.5.34.5.
enum VersionType : int {
    VersionType_Full = 0,   ///< all four parts, packed into one number
    VersionType_Major = 1,  ///< 5
    VersionType_Minor = 2,  ///< 5
    VersionType_Patch = 3,  ///< 34
    VersionType_Build = 4,  ///< 5
};

/// Reports an event: the body that `core` builds, its "session_id" and,
/// when it has members, `moreData` as "_moreData". Returns 3 without sending
/// when `core` builds to nothing.
QDX_EXPORT unsigned int TrackEvent(QdxString const& sessionId, Facet::Core const& core, JsonValue const* moreData);
/// Asks the core library to send what it holds. Returns 0 at once, loading
/// nothing, when neither the core nor the dialog library is loaded.
/// `args`, when given, is sent as it is.
QDX_EXPORT unsigned int FlushEvent(JsonValue const* args);
/// Reports that the session is alive. Returns 3 without sending for a type
/// outside HeartBeatType.
QDX_EXPORT unsigned int HeartBeat(QdxString const& sessionId, HeartBeatType type);
/// Reports a crash of the previous run: how many crashes, the uptime and the
/// calendar uptime, and the user's GUID.
QDX_EXPORT unsigned int OnCrash(QdxString const& sessionId, unsigned int crashCount, long long uptime,
                                long long calUptime, QdxString const& userGUID);
/// Passes the user's information (the body that `user` builds).
QDX_EXPORT unsigned int SetUserInformation(Facet::User const& user);
/// Passes the user's group information for the session.
QDX_EXPORT unsigned int SetGroupInformation(QdxString const& sessionId, Facet::User const& user);
/// Reports a step of a flow, with `data` (may be null) as its members.
/// Returns 3 without sending for a type outside LiFlowType.
QDX_EXPORT unsigned int UpdateLiFlow(LiFlowType type, JsonValue const* data);
/// Reports an update, with `data` (may be null) as its members. Returns 3
/// without sending for a type outside LiUpdateType.
QDX_EXPORT unsigned int UpdateLiData(LiUpdateType type, JsonValue const* data);
/// How long, in milliseconds, the core library may take to finish when the product closes.
QDX_EXPORT unsigned int SetCloseTimeoutOnProductClose(long long timeout);
/// Asks whether collection is enabled for `name` = `value` (with
/// `moreData`, which may be null, as further detail).
QDX_EXPORT unsigned int IsCollectionEnabled(QdxString const& sessionId, QdxString const& name, QdxString const& value,
                                            JsonValue const* moreData);
/// The device's identifier. `deviceId` receives the answer's "deviceID"
/// whatever the result (a null string when there is none).
QDX_EXPORT unsigned int GetDeviceID(QdxString& deviceId);
/// The device's identifier of the other kind; as GetDeviceID.
QDX_EXPORT unsigned int GetTOVDeviceID(QdxString& deviceId);
/// The SHA-256 hash of `size` bytes at `data`, which the core library reads
/// during the call. `hash` receives the answer's "sha256" whatever the result.
QDX_EXPORT unsigned int GetSHA256Hash(void const* data, int size, QdxString& hash);
/// Makes the session's product the host product. True on success.
QDX_EXPORT bool SetHostProduct(QdxString const& sessionId);
/// The version of `module` (from the SDK folder's copy when `fromSdkFolder`),
/// as the core library reports it (0 when it cannot). Without a module,
/// answered at once for this library.
QDX_EXPORT long long GetVersion(VersionType type, char const* module, bool fromSdkFolder);

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
