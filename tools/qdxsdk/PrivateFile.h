// A file written in full or not at all, readable by its owner alone: the
// text goes to a temporary file (0600) beside the target, which takes the
// target's name only once everything is written and synced.
#ifndef QDX_TOOL_PRIVATE_FILE_H
#define QDX_TOOL_PRIVATE_FILE_H

#include <cstdio>
#include <string>

namespace Norvane {
namespace QdxTool {

class PrivateFile {
public:
    /// Creates the temporary file; Error() says why when that failed.
    explicit PrivateFile(std::string path);
    /// Removes the temporary file unless Commit() succeeded.
    ~PrivateFile();
    PrivateFile(PrivateFile const&) = delete;
    PrivateFile& operator=(PrivateFile const&) = delete;

    bool Ok() const { return m_file != nullptr && m_error.empty(); }
    void Write(std::string const& text);
    /// Syncs, closes and renames the file to its path; false with Error() set
    /// when any step, or any Write before, failed.
    bool Commit();
    std::string const& Error() const { return m_error; }

private:
    void Failed(char const* what);

    std::string m_path;
    std::string m_temporaryPath;
    std::FILE* m_file = nullptr;
    bool m_committed = false;
    std::string m_error;
};

}  // namespace QdxTool
}  // namespace Norvane

#endif
