#ifndef QDX_LOG_TARGET_H
#define QDX_LOG_TARGET_H

namespace Norvane {
namespace QDXDesktopSDK {

/// An output of the Logger. The logger does not own its targets: a target
/// registers itself when it is built with a name and unregisters itself when
/// it is destroyed. Targets are called with the logger's mutex held, so a
/// target must never log through the logger.
class LogTarget {
public:
    /// Registers under `name` with the logger (created when missing); null or
    /// empty registers nothing.
    explicit LogTarget(char const* name);
    LogTarget(LogTarget const&) = delete;
    LogTarget& operator=(LogTarget const&) = delete;

    /// Writes one finished line.
    virtual void Log(char const* line) = 0;
    /// Starts the output anew; does nothing here.
    virtual void Reset();
    /// Unregisters from the logger, if there still is one.
    virtual ~LogTarget();

protected:
    /// Registers under `name` with the logger (created when missing); null or
    /// empty registers nothing. For targets that register once fully built.
    void Register(char const* name);
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
