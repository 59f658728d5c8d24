#ifndef QDX_LOCALCORE_JSON_COMPACTOR_H
#define QDX_LOCALCORE_JSON_COMPACTOR_H

#include <memory>
#include <string>

namespace Norvane {
namespace LocalCore {

/// Rewrites JSON text as the parser's writer writes it, without whitespace:
/// the form in which records are stored. One pass with no tree, reusing its
/// buffers from one text to the next: once they have grown, a text costs no
/// allocation. The writer thread compacts every record with one of these.
class JsonCompactor {
public:
    JsonCompactor();
    ~JsonCompactor();
    JsonCompactor(JsonCompactor const&) = delete;
    JsonCompactor& operator=(JsonCompactor const&) = delete;

    /// Replaces `text` by its compact form; false, leaving it as it was, when
    /// it is not valid JSON.
    bool Compact(std::string& text);

private:
    struct Buffers;
    std::unique_ptr<Buffers> m_buffers;
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
