#ifndef QDX_PATH_H
#define QDX_PATH_H

#include <string>
#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {

/// A file-system path: UTF-8 text with "/" as separator, kept exactly as it
/// was given (never normalised on construction). Most operations are pure text
/// rules; the file-system ones are thin calls into the system and report
/// failure by their result, never by throwing. Paths are compared without
/// regard to case, through their full canonical form (see `Compare`).
/// A `Path` is a plain value: any thread may use its own copies; the file
/// system itself is of course shared.
class Path {
public:
    /// Kinds of `GetSpecialFolderPath`; several values name the same folder.
    enum SpecialFolderPath : int {
        SpecialFolder_Home = 0,               ///< the user's home folder
        SpecialFolder_UserData = 1,           ///< the user's home folder
        SpecialFolder_CommonData = 2,         ///< "/opt"
        SpecialFolder_Executable = 3,         ///< the running executable's file
        SpecialFolder_Module = 4,             ///< this library's own file
        SpecialFolder_ModuleFile = 5,         ///< this library's own file
        SpecialFolder_ExecutableFile = 6,     ///< the running executable's file
        SpecialFolder_ExecutableFolder = 7,   ///< the folder of the running executable
        SpecialFolder_ApplicationFolder = 8,  ///< the folder of the running executable
        SpecialFolder_Programs = 9,           ///< "/opt"
        SpecialFolder_Count = 10              ///< this and above: the empty path
    };

    /// The empty path.
    Path() = default;
    /// `text` as it is; null gives the empty path.
    Path(char const* text);
    Path(std::string text);
    /// `text` converted to UTF-8; the empty path when it cannot be converted.
    explicit Path(std::wstring const& text);

    std::string const& GetString() const { return m_path; }
    char const* c_str() const { return m_path.c_str(); }
    /// The text as wide characters; empty when it is not valid UTF-8.
    std::wstring GetWideString() const;
    bool IsEmpty() const { return m_path.empty(); }

    // ---- Text rules: none of these touches the disk unless said. ----

    /// The containing folder: /a/b gives /a, /a/b/ gives /a, /a and "/" give
    /// "/", a bare name gives the empty path.
    Path Parent() const;
    /// The text after the last "/", or the whole path when there is none; empty
    /// when the path ends in "/".
    Path FileName() const;
    /// The file name's text from its last "." on, dot included (".gz" for
    /// archive.tar.gz, ".profile" for .profile); empty without a ".".
    std::string GetExtension() const;
    /// The path with the file name's extension replaced by `extension` (one
    /// leading "." optional: "txt" and ".txt" both give name.txt); null or "."
    /// removes the extension.
    Path RenameExtension(char const* extension) const;
    /// The file name without its extension.
    Path FileNameWithoutExt() const;
    /// `other` appended with exactly one "/" between: a/ and b/ give a/b, "/"
    /// and /x give /x, the empty path and /x give x. Trailing "/" is dropped.
    Path Append(Path const& other) const;
    /// The text before the first "/" found from the second character on (/a
    /// for /a/b, "~" for ~/x); the whole path when there is none.
    Path GetRoot() const;
    /// What follows the root and its separators (b/c for /a/b/c); empty when
    /// nothing does.
    Path RemoveRoot() const;
    /// True for the empty path and any path not beginning with "/" or "~".
    bool IsRelativePath() const;
    /// A relative path appended to the current folder (not canonicalised
    /// further); any other path canonicalised. Reads the disk.
    Path MakeFullPath() const;
    /// The resolved path (the system's realpath) when it exists; otherwise the
    /// text with a leading "~" replaced by the home folder. Reads the disk.
    Path Canonicalize() const;
    /// strcasecmp of the two full paths (`MakeFullPath`): negative, 0 or
    /// positive. Reads the disk.
    int Compare(Path const& other) const;
    bool operator==(Path const& other) const { return Compare(other) == 0; }
    bool operator!=(Path const& other) const { return Compare(other) != 0; }
    /// Whether every component of this full path equals, regardless of case,
    /// the component of `other`'s full path at the same place (a folder is a
    /// prefix of everything inside it, and of itself). Reads the disk.
    bool IsPreFixOf(Path const& other) const;
    /// This path relative to `base`, both taken as full paths, with ".." for
    /// each component of `base` that this path does not share (components
    /// compared regardless of case, as `Compare` does); empty when the two are
    /// the same, so that base.Append(result) names this path again.
    Path GetRelativePath(Path const& base) const;
    /// Always "/tmp".
    static Path GetTempPath();

    // ---- File system ----

    /// Whether the entry exists; a symbolic link is not followed.
    bool Exists() const;
    /// Whether the path names a folder (links followed).
    bool IsDir() const;
    /// Makes the folder and any missing parents (mode 0777 less the umask,
    /// then the global file attribute). True when the folder exists now; false
    /// for the empty path and when the path exists but is not a folder.
    bool CreateDir() const;
    /// Size in bytes (links followed); -1 when it cannot be read.
    long long GetFileSize() const;
    /// Last modification and last access time in milliseconds since the
    /// epoch; -1 when they cannot be read.
    long long GetModificationTime() const;
    long long GetAccessTime() const;
    /// Sets both times (milliseconds since the epoch); a negative value keeps
    /// that time as it is.
    bool SetFileTimes(long long accessTime, long long modificationTime) const;

    /// Whether a file can be created in the folder that this path is or would
    /// be in: the folder is probed by writing and deleting a small file. A
    /// path that does not exist asks its nearest existing ancestor.
    bool IsWritable() const;
    /// On a folder: the first of folder/prefix.extension, folder/prefix1.extension,
    /// folder/prefix2.extension, ... that does not exist. `counter`, when given,
    /// is the number to start from and is advanced past the one returned.
    /// A null or empty extension adds none.
    Path GetTempFile(char const* prefix, char const* extension, unsigned long* counter) const;

    /// Writes `size` bytes of `data` at `offset` (negative: at the end).
    /// Without `handle`: creates the parent folder, opens (truncating), writes
    /// and closes; with a non-null `temporarySuffix` the bytes go to this path
    /// plus the suffix (".saving" when empty), which then replaces the file
    /// atomically, so that a failed write leaves the old file as it was.
    /// With `handle` (a FILE* kept by the caller): the file is opened on the
    /// first call (when *handle is null) and stays open, the result being
    /// whether at least one byte was written; a negative `size` closes it,
    /// clears *handle and completes the replacement. True on success.
    bool WriteFile(void const* data, long long size, long long offset, char const* temporarySuffix,
                   void** handle) const;
    /// Reads up to `size` bytes at `offset` into `buffer`: the number read
    /// (fewer at the end of the file), or -1 when the file cannot be read.
    long long ReadFile(long long offset, long long size, void* buffer) const;
    /// The file's contents, at most `maxSize` bytes (negative: no limit);
    /// empty when it cannot be read.
    std::string ReadFileAsString(long long maxSize) const;
    /// The packed version (see QdxUtil::GetVersionFromString) in the version
    /// stamp of the library file this path names, read from the file without
    /// loading it; 0 when there is none: no file, not a 64-bit ELF file,
    /// stripped, no stamp, or no digits after the stamp's first ",". As with
    /// QdxUtil::LoadResourceFromBinary, the empty path names this library's
    /// own file and a relative one is taken from this library's folder.
    unsigned long long GetVersion() const;

    /// Deletes the entry: a symbolic link as a link, a folder (emptied first
    /// when `recursive`, keeping entries that the wildcard patterns do not
    /// select) and anything else as a file. Returns how many entries went.
    int Delete(bool recursive, char const* includePattern, char const* excludePattern) const;
    bool DeleteFile() const;
    bool DeleteDirectory() const;
    /// The folder and everything in it; true when the folder is gone.
    bool DeleteDirectoryRecursive() const;
    /// Copies a file or a folder tree to `target`, or into the folder `target`
    /// when `intoFolder`. A folder copied onto itself succeeds at once; a
    /// folder copied into its own tree fails. True when everything was copied.
    bool Copy(Path const& target, bool intoFolder) const;
    /// Copies this file's bytes and permission bits over `target`, creating
    /// its folder.
    bool CopyFile(Path const& target) const;
    /// Renames to `target`; an existing target is replaced only with
    /// `overwrite`. Across file systems the entry is copied and deleted.
    bool Move(Path const& target, bool overwrite) const;

    /// Extended attributes of the user namespace, links followed.
    bool GetExtendedAttribute(char const* name, std::string& value) const;
    bool SetExtendedAttribute(char const* name, std::string const& value) const;
    bool RemoveExtendedAttribute(char const* name) const;
    /// The names of the entry's attributes; false when they cannot be listed.
    bool ListExtendedAttributes(std::vector<std::string>& names) const;

    static Path CurrentDir();
    static bool SetCurrentDir(Path const& folder);

    /// Null `address`: the running executable's file, read once per process.
    /// Otherwise the file of the loaded object that contains `address`. Empty
    /// when it cannot be found. `resolveLinks` has no effect on this platform.
    static Path GetModuleFilePath(void const* address, bool resolveLinks);
    /// The folder or file of `kind`; with `create`, `CreateDir` is called on
    /// it. The home folder is the login name's password entry's, else the
    /// effective user's, else $HOME. This library's own file, like the
    /// executable's, is found once.
    static Path GetSpecialFolderPath(SpecialFolderPath kind, bool create);

    /// Permission bits applied by `CreateDir` and `WriteFile` (and `CopyFile`)
    /// to what they create; all bits set (the initial value) means none.
    /// Process-wide; any thread.
    static void SetGlobalFileAttribute(unsigned long attribute);
    static unsigned long GetGlobalFileAttribute();

private:
    std::string m_path;
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
