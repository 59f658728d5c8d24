#include "PrivateFile.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace Norvane {
namespace QdxTool {

PrivateFile::PrivateFile(std::string path) : m_path(std::move(path))
{
    std::vector<char> name(m_path.begin(), m_path.end());
    static constexpr char kPattern[] = ".XXXXXX";
    name.insert(name.end(), kPattern, kPattern + sizeof kPattern);  // with its terminating zero
    int const descriptor = mkstemp(name.data());                    // always 0600
    if (descriptor < 0) {
        Failed("cannot create a file beside");
        return;
    }
    m_temporaryPath = name.data();
    m_file = fdopen(descriptor, "w");
    if (m_file == nullptr) {
        Failed("cannot write");
        close(descriptor);
    }
}

PrivateFile::~PrivateFile()
{
    if (m_file != nullptr)
        std::fclose(m_file);
    if (!m_committed && !m_temporaryPath.empty())
        unlink(m_temporaryPath.c_str());
}

void PrivateFile::Failed(char const* what)
{
    if (m_error.empty())
        m_error = std::string(what) + " " + m_path + ": " + std::strerror(errno);
}

void PrivateFile::Write(std::string const& text)
{
    if (Ok() && std::fwrite(text.data(), 1, text.size(), m_file) != text.size())
        Failed("cannot write");
}

bool PrivateFile::Commit()
{
    if (!Ok())
        return false;
    bool const written = std::fflush(m_file) == 0 && fsync(fileno(m_file)) == 0;
    if (!written)
        Failed("cannot write");
    int const closed = std::fclose(m_file);
    m_file = nullptr;
    if (written && closed != 0)
        Failed("cannot write");
    if (m_error.empty() && std::rename(m_temporaryPath.c_str(), m_path.c_str()) != 0)
        Failed("cannot replace");
    m_committed = m_error.empty();
    return m_committed;
}

}  // namespace QdxTool
}  // namespace Norvane
