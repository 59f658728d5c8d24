#include "SpillFile.h"

#include "CoreJson.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace Norvane {
namespace LocalCore {
namespace SpillFile {

namespace {

constexpr char kPrefix[] = "spill-";
constexpr char kSuffix[] = ".items";
constexpr char kEarlierSuffix[] = ".jsonl";   // of cores that wrote each item as one JSON line
constexpr std::size_t kWriteBytes = 4 << 20;  // written to the file in pieces of about this size

bool EndsWith(std::string const& name, char const* suffix)
{
    std::size_t const length = std::strlen(suffix);
    return name.size() > length && name.compare(name.size() - length, length, suffix) == 0;
}

// An item is a line of JSON that describes it, then its text as it is (of
// the length the line gives) and a line feed: the text, often a megabyte a
// thousand items, is copied rather than escaped, so that a stopping writer
// spills a full queue in a fraction of its close time-out.
void AppendItem(std::string& out, QdxLocalCoreJson::StringBuffer& line, WorkItem const& item)
{
    line.Clear();
    QdxLocalCoreJson::Writer<QdxLocalCoreJson::StringBuffer> writer(line);
    writer.StartObject();
    writer.Key("kind");
    writer.Int(static_cast<int>(item.kind));
    writer.Key("time");
    writer.Int64(item.timeMs);
    writer.Key("name");
    writer.String(item.name.c_str(), static_cast<QdxLocalCoreJson::SizeType>(item.name.size()));
    writer.Key("session_id");
    writer.String(item.sessionId.c_str(), static_cast<QdxLocalCoreJson::SizeType>(item.sessionId.size()));
    writer.Key("text_bytes");
    writer.Uint64(item.text.size());
    writer.EndObject();
    out.append(line.GetString(), line.GetSize());
    out += '\n';
    out += item.text;
    out += '\n';
}

bool WriteAll(int file, std::string const& bytes)
{
    for (std::size_t done = 0; done < bytes.size();) {
        ssize_t const written = write(file, bytes.data() + done, bytes.size() - done);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        done += static_cast<std::size_t>(written);
    }
    return true;
}

// The item a line describes; false for a line that does not describe one
// that the next writer stores (such as a request for figures).
bool Describe(JsonDocument const& document, WorkItem& item)
{
    if (!document.IsObject())
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
    item.sessionId = StringMember(document, "session_id");
    return true;
}

// A file of this core's: past a line that cannot be read, or a length beyond
// what the file holds (one cut short, or not written by a core), nothing can
// be told apart any more, and the reading ends there, before anything of
// that length is allocated.
void ReadItems(std::istream& in, std::uintmax_t left, std::vector<WorkItem>& items)
{
    std::string line;
    while (std::getline(in, line)) {
        left -= std::min<std::uintmax_t>(left, line.size() + 1);
        JsonDocument document;
        if (document.Parse(line.c_str()).HasParseError() || !document.IsObject())
            return;
        auto const textBytes = document.FindMember("text_bytes");
        if (textBytes == document.MemberEnd() || !textBytes->value.IsUint64() || textBytes->value.GetUint64() >= left)
            return;
        WorkItem item;
        item.text.resize(static_cast<std::size_t>(textBytes->value.GetUint64()));
        in.read(item.text.data(), static_cast<std::streamsize>(item.text.size()));
        left -= item.text.size() + 1;
        if (!in || in.get() != '\n')
            return;
        if (Describe(document, item))
            items.push_back(std::move(item));
    }
}

// A file of an earlier core's: one line of JSON an item, its text in it.
void ReadEarlierItems(std::istream& in, std::vector<WorkItem>& items)
{
    std::string line;
    while (std::getline(in, line)) {
        JsonDocument document;
        WorkItem item;
        if (document.Parse(line.c_str()).HasParseError() || !Describe(document, item))
            continue;
        item.text = StringMember(document, "text");
        items.push_back(std::move(item));
    }
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
    std::string bytes;
    QdxLocalCoreJson::StringBuffer line;
    for (std::size_t i = 0; written && i < items.size(); ++i) {
        AppendItem(bytes, line, items[i]);
        if (bytes.size() >= kWriteBytes || i + 1 == items.size()) {
            written = WriteAll(file, bytes);
            bytes.clear();
        }
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
    std::vector<std::string> names;
    while (dirent const* const entry = readdir(directory)) {
        std::string name = entry->d_name;
        if (name.rfind(kPrefix, 0) == 0 && (EndsWith(name, kSuffix) || EndsWith(name, kEarlierSuffix)))
            names.push_back(std::move(name));
    }
    closedir(directory);
    // One process's files in the order it wrote them.
    std::sort(names.begin(), names.end());
    for (std::string const& name : names) {
        std::string const path = folder + "/" + name;
        std::ifstream in(path, std::ios::binary);
        std::error_code error;
        std::uintmax_t const size = std::filesystem::file_size(path, error);
        if (!in || error)
            continue;  // left for a later start rather than removed unread
        if (EndsWith(name, kSuffix))
            ReadItems(in, size, items);
        else
            ReadEarlierItems(in, items);
        files.push_back(path);
    }
}

void Remove(std::vector<std::string> const& files)
{
    for (std::string const& file : files)
        std::remove(file.c_str());
}

}  // namespace SpillFile
}  // namespace LocalCore
}  // namespace Norvane
