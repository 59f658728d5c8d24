#ifndef QDX_LOCALCORE_CORE_SETTINGS_H
#define QDX_LOCALCORE_CORE_SETTINGS_H

#include <atomic>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace Norvane {
namespace LocalCore {

/// Names of the settings the core keeps in the database.
namespace Setting {
constexpr char kConsent[] = "consent";                       ///< "in" or "out"; absent until the user answers
constexpr char kPreferences[] = "preferences";               ///< JSON object of consent preferences
constexpr char kDialogShown[] = "dialog_shown";              ///< "1" once the consent dialog was shown
constexpr char kDialogPreferences[] = "dialog_preferences";  ///< JSON given with "SetPXDialogShown"
constexpr char kDeviceId[] = "device_id";
constexpr char kTovDeviceId[] = "tov_device_id";
constexpr char kDisabled[] = "disabled";                ///< "1" after "DisableQDX"
constexpr char kInstallerMode[] = "installer_mode";     ///< "1" after "SetInstallerMode"
constexpr char kTestingFlags[] = "testing_flags";       ///< JSON object: product id to its flags
constexpr char kCloseTimeoutMs[] = "close_timeout_ms";  ///< from "SetCloseTimeoutOnProductClose"
constexpr char kGlint[] = "glint";                      ///< JSON of the last "InternalMessageEnableGlint"
}  // namespace Setting

/// The settings as this process sees them: read from the database when the
/// writer opens it and whenever another process has changed it, changed here
/// at once by the messages (which queue the write), so that answers never
/// wait for the disk.
class CoreSettings {
public:
    /// The database's settings, with this process's changes that the writer
    /// has not written yet laid over them: a reread never undoes them.
    void Replace(std::map<std::string, std::string> settings);
    std::string Get(char const* name, std::string const& fallback = std::string()) const;
    /// Changes the setting here at once; the caller queues its write.
    void Set(char const* name, std::string const& value);
    void Remove(char const* name);
    /// The writer committed `value` (none: the removal) for `name`.
    void Written(std::string const& name, std::optional<std::string> const& value);
    /// In a forked child: the changes still unwritten are the parent's writer's to write.
    void ForgetUnwrittenAfterFork();
    std::map<std::string, std::string> All() const;
    void LockForFork() { m_mutex.lock(); }
    void UnlockAfterFork() { m_mutex.unlock(); }

    /// Read on every usage record, so kept apart from the map.
    bool Consented() const { return m_consented.load(std::memory_order_relaxed); }
    bool Disabled() const { return m_disabled.load(std::memory_order_relaxed); }
    /// Consent ignored for a product's tests ("SetTestingFlags" with "ignore_consent").
    bool ConsentIgnored() const { return m_consentIgnored.load(std::memory_order_relaxed); }

private:
    void Derive();  // m_mutex held

    mutable std::mutex m_mutex;
    std::map<std::string, std::string> m_settings;                  // guarded by m_mutex
    std::map<std::string, std::optional<std::string>> m_unwritten;  // guarded by m_mutex; none: removed
    std::atomic<bool> m_consented{false};
    std::atomic<bool> m_disabled{false};
    std::atomic<bool> m_consentIgnored{false};
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
