#include "SpillFile.h"

#include "CoreJson.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>

namespace Norvane {
namespace LocalCore {
namespace SpillFile {

namespace {

constexpr char kPrefix[] = "spill-";
constexpr char kSuffix[] = ".jsonl";

std::string Line(WorkItem const& item)
{
    QdxLocalCoreJson::StringBuffer buffer;
    QdxLocalCoreJson::Writer<QdxLocalCoreJson::StringBuffer> writer(buffer);
    writer.StartObject();
    writer.Key("kind");
    writer.Int(static_cast<int>(item.kind));
    writer.Key("time");
    writer.Int64(item.timeMs);
    writer.Key("name");
    writer.String(item.name.c_str(), static_cast<QdxLocalCoreJson::SizeType>(item.name.size()));
    writer.Key("text");
    writer.String(item.text.c_str(), static_cast<QdxLocalCoreJson::SizeType>(item.text.size()));
    writer.Key("session_id");
    writer.String(item.sessionId.c_str(), static_cast<QdxLocalCoreJson::SizeType>(item.sessionId.size()));
    writer.EndObject();
    return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

bool Parse(std::string const& line, WorkItem& item)
{
    JsonDocument document;
    if (document.Parse(line.c_str()).HasParseError() || !document.IsObject())
        return false;
    auto const kind = document.FindMember("kind");
    auto const time = document.FindMember("time");
    if (kind == document.MemberEnd() || !kind->value.IsInt() || kind->value.GetInt() < 0 ||
        kind->value.GetInt() > static_cast<int>(WorkItem::Kind::PurgeRecords) || time == document.MemberEnd() ||
        !time->value.IsInt64())
        return false;
    item.kind = static_cast<WorkItem::Kind>(kind->value.GetInt());
    item.timeMs = time->value.GetInt64();
    item.name = StringMember(document, "name");
    item.text = StringMember(document, "text");
    item.sessionId = StringMember(document, "session_id");
    return true;
}

}  // namespace

bool Write(std::string const& folder, std::vector<WorkItem> const& items)
{
    long long const now =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    std::string const path = folder + "/" + kPrefix + std::to_string(getpid()) + "-" + std::to_string(now) + kSuffix;
    int const file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (file < 0)
        return false;
    bool written = true;
    for (WorkItem const& item : items) {
        std::string const line = Line(item);
        written = written && write(file, line.data(), line.size()) == static_cast<ssize_t>(line.size());
    }
    written = fsync(file) == 0 && written;
    close(file);
    return written;
}

void ReadAll(std::string const& folder, std::vector<WorkItem>& items, std::vector<std::string>& files)
{
    DIR* const directory = opendir(folder.c_str());
    if (directory == nullptr)
        return;
    while (dirent const* const entry = readdir(directory)) {
        std::string const name = entry->d_name;
        if (name.rfind(kPrefix, 0) != 0 || name.size() <= sizeof kSuffix ||
            name.compare(name.size() - (sizeof kSuffix - 1), std::string::npos, kSuffix) != 0)
            continue;
        std::string const path = folder + "/" + name;
        std::ifstream in(path);
        std::string line;
        while (std::getline(in, line)) {
            WorkItem item;
            if (Parse(line, item))
                items.push_back(std::move(item));
        }
        files.push_back(path);
    }
    closedir(directory);
}

void Remove(std::vector<std::string> const& files)
{
    for (std::string const& file : files)
        std::remove(file.c_str());
}

}  // namespace SpillFile
}  // namespace LocalCore
}  // namespace Norvane
