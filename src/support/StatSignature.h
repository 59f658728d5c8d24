#ifndef QDX_STAT_SIGNATURE_H
#define QDX_STAT_SIGNATURE_H

#include "support/Path.h"

namespace Norvane {
namespace QDXDesktopSDK {

/// What one `stat` of a path (links followed) says about the entry it names,
/// kept to tell cheaply whether the entry may have changed since: which
/// entry it is (device, inode, type and permission bits), its size and link
/// count, and the times of its last modification and status change, in
/// nanoseconds; or, for a path that names nothing, the error of the call.
/// Adding, removing or renaming an entry of a folder changes the folder's
/// modification time; rewriting a file changes the file's.
class StatSignature {
public:
    /// How long after a modification its time may still be repeated by the
    /// next one: file systems take their times from a clock that moves in
    /// ticks (a few milliseconds), some keep them in steps of two seconds.
    static constexpr long long kTimeDoubtNs = 3000000000LL;

    /// The signature of `path` now: one system call.
    static StatSignature Of(Path const& path);

    /// Whether the path named an entry.
    bool Exists() const { return m_error == 0; }
    /// Equal signatures of the same path: the entry may still have changed,
    /// within the doubt of `ShowsLaterChanges`.
    bool operator==(StatSignature const& other) const;
    bool operator!=(StatSignature const& other) const { return !(*this == other); }

    /// Whether every later change of the entry is sure to give a different
    /// signature, given `takenAtNs`, the real-time clock (nanoseconds since
    /// the epoch) read before this signature was taken. True for a missing
    /// entry, which has to appear first. True for an entry last modified more
    /// than kTimeDoubtNs before that moment; a change made later, in the same
    /// tick of the file system's clock as the last one, could leave every
    /// field but the status-change time as it was.
    bool ShowsLaterChanges(long long takenAtNs) const;

private:
    int m_error = 0;  // errno of a failed stat; 0 when the entry exists
    unsigned long long m_device = 0;
    unsigned long long m_inode = 0;
    unsigned int m_mode = 0;
    unsigned long long m_links = 0;
    long long m_size = 0;
    long long m_modifiedNs = 0;
    long long m_changedNs = 0;
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
