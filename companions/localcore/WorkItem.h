#ifndef QDX_LOCALCORE_WORK_ITEM_H
#define QDX_LOCALCORE_WORK_ITEM_H

#include <string>

namespace Norvane {
namespace LocalCore {

/// One piece of disk work, made on a host's thread and done by the writer.
struct WorkItem {
    enum class Kind : unsigned char {
        Record,
        OpenSession,
        CloseSession,
        SetSetting,
        RemoveSetting,
        PurgeRecords,
        ReadFigures  ///< read the store's figures into the writer's status
    };

    Kind kind = Kind::Record;
    long long timeMs = 0;           ///< when the message arrived (milliseconds since the epoch, UTC)
    std::string name;               ///< the message name; the setting's name
    std::string text;               ///< the argument text as received; the product facet; the setting's value
    std::string sessionId;          ///< the session a record or session item names; empty for none
    unsigned long long ticket = 0;  ///< given by the queue; 0 for items imported from a spill file

    /// What the item counts against the queue's limit.
    std::size_t Bytes() const { return sizeof(WorkItem) + name.size() + text.size() + sessionId.size(); }
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
