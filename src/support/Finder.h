#ifndef QDX_FINDER_H
#define QDX_FINDER_H

#include "support/Path.h"
#include "support/StdStringMatcher.h"

#include <functional>
#include <memory>

namespace Norvane {
namespace QDXDesktopSDK {

/// One entry met by a `Finder` walk, as its callback sees it.
class FindData {
public:
    FindData(Path path, bool matched, bool directory, long long fileSize);

    /// The entry's full path (below the canonical form of the walk's root).
    Path const& GetPath() const { return m_path; }
    /// Whether the entry's name passed the include and exclude matchers.
    /// Always false in the notice that a folder's walk has finished.
    bool IsMatched() const { return m_matched; }
    /// Whether the entry is a folder itself (a link to a folder is not).
    bool IsDirectory() const { return m_directory; }
    /// The entry's size in bytes (of the link itself for a link).
    long long GetFileSize() const { return m_fileSize; }

private:
    Path m_path;
    bool m_matched;
    bool m_directory;
    long long m_fileSize;
};

/// The matcher for `pattern`: a `StdStringMatcherSimple` selecting names that
/// end with it (case ignored) when `simple`, else a `StdStringMatcherWildCard`.
/// Null for a null pattern.
std::unique_ptr<StdStringMatcher> Finder_GetStringMatcher(char const* pattern, bool simple);

/// Walks a folder tree depth first and calls back for every entry, marking
/// the entries whose names pass an include matcher and fail an exclude
/// matcher (either optional). Symbolic links are reported but never followed
/// below the root. One walk at a time per finder; a finder is not shared
/// between threads.
class Finder {
public:
    /// What a callback returns to steer the walk.
    enum Result : int {
        Result_Continue = 0,   ///< go on (so does any value other than 1 and 2)
        Result_Stop = 1,       ///< end the whole walk at once
        Result_SkipFolder = 2  ///< do not enter this folder
    };
    using Callback = int (*)(FindData const& entry, void* user);
    using Function = std::function<int(FindData const& entry)>;

    /// `callback` gets `user` with every entry; may be null (then the walk
    /// only counts). The patterns, when either is given, go to `SetPattern`.
    Finder(Callback callback, void* user, char const* includePattern, char const* excludePattern, bool simple);
    Finder(Function function, char const* includePattern, char const* excludePattern, bool simple);
    Finder(Finder const&) = delete;
    Finder& operator=(Finder const&) = delete;

    /// Replaces both matchers with those of `Finder_GetStringMatcher`; a null
    /// pattern leaves that side without a matcher.
    void SetPattern(char const* includePattern, char const* excludePattern, bool simple);

    /// Walks `root` (canonicalised first) and returns how many entries passed
    /// the matchers, folders included. Each folder gets a second call, with the
    /// mark cleared, once its own walk has finished. A root that is not a
    /// folder is reported as the only entry; one that cannot be read gives 0.
    int StartFind(Path const& root);

private:
    bool Passes(std::string const& name) const;
    int Report(FindData const& entry);
    int Walk(Path const& folder);

    Callback m_callback = nullptr;
    void* m_user = nullptr;
    Function m_function;
    std::unique_ptr<StdStringMatcher> m_include;
    std::unique_ptr<StdStringMatcher> m_exclude;
    bool m_stopped = false;
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
