#include "CoreHarness.h"

#include <dlfcn.h>
#include <pwd.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

namespace CoreTesting {

namespace {

template <typename Function> void Resolve(void* library, char const* name, Function& function)
{
    function = reinterpret_cast<Function>(dlsym(library, name));
    if (function == nullptr)
        ADD_FAILURE() << "the core lacks " << name;
}

}  // namespace

std::string Answer::Text(char const* member) const
{
    auto const found = json.IsObject() ? json.FindMember(member) : json.MemberEnd();
    return found != json.MemberEnd() && found->value.IsString() ? found->value.GetString() : std::string();
}

long long Answer::Number(char const* member) const
{
    auto const found = json.IsObject() ? json.FindMember(member) : json.MemberEnd();
    return found != json.MemberEnd() && found->value.IsInt64() ? found->value.GetInt64() : -1;
}

long long Answer::Counter(char const* name) const
{
    auto const counters = json.IsObject() ? json.FindMember("counters") : json.MemberEnd();
    if (counters == json.MemberEnd() || !counters->value.IsObject())
        return 0;
    auto const found = counters->value.FindMember(name);
    return found != counters->value.MemberEnd() && found->value.IsInt64() ? found->value.GetInt64() : 0;
}

LoadedCore::LoadedCore(std::string const& file)
{
    m_library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_library == nullptr) {
        ADD_FAILURE() << "cannot load " << file << ": " << dlerror();
        return;
    }
    Resolve(m_library, "Initialize_QdxSDKCore", m_initialize);
    Resolve(m_library, "InitializeEx_QdxSDKCore", m_initializeEx);
    Resolve(m_library, "Finalize_QdxSDKCore", m_finalize);
    Resolve(m_library, "ProcessMessage_QdxSDKCore", m_process);
    Resolve(m_library, "FreeMessage_QdxSDKCore", m_free);
}

LoadedCore::~LoadedCore()
{
    if (m_library != nullptr)
        m_finalize();
}

Answer LoadedCore::Send(char const* name, char const* text) const
{
    Answer answer;
    char const* const reply = m_process(name, text);
    if (reply == nullptr) {
        ADD_FAILURE() << "no answer to " << (name != nullptr ? name : "(null)");
        return answer;
    }
    answer.json.Parse(reply);
    m_free(reply);
    auto const code = answer.json.IsObject() ? answer.json.FindMember("_returnCode") : answer.json.MemberEnd();
    if (code != answer.json.MemberEnd() && code->value.IsInt())
        answer.code = code->value.GetInt();
    return answer;
}

void LoadedCore::Unload()
{
    m_finalize();
    dlclose(m_library);
    m_library = nullptr;
}

void CoreTest::SetUp()
{
    QDX_REQUIRE_ISOLATION();
    m_core = std::make_unique<LoadedCore>();
    ASSERT_TRUE(m_core->Loaded());
}

std::string CoreTest::OpenSession()
{
    Answer const opened = Send("Initialize", R"({"product_id": "TestProduct", "product_version": "1.0"})");
    EXPECT_EQ(opened.code, 0);
    return opened.Text("session_id");
}

fs::path SdkFolder()
{
    passwd const* const user = getpwuid(geteuid());
    return fs::path(user != nullptr ? user->pw_dir : std::getenv("HOME")) / ".norvane/UI/Norvane/QDXSDK";
}

void WriteConfiguration(std::string const& lines)
{
    WriteFile(SdkFolder() / "qdxdesktopsdk.env", lines);
}

void WriteFile(fs::path const& file, std::string const& content)
{
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary | std::ios::trunc) << content;
}

std::string ReadFile(fs::path const& file)
{
    std::ifstream in(file, std::ios::binary);
    std::stringstream content;
    content << in.rdbuf();
    return content.str();
}

std::vector<fs::path> FilesStartingWith(fs::path const& folder, std::string const& prefix)
{
    std::vector<fs::path> files;
    std::error_code error;
    for (auto const& entry : fs::directory_iterator(folder, error))
        if (entry.path().filename().string().rfind(prefix, 0) == 0)
            files.push_back(entry.path());
    return files;
}

std::string WithSession(std::string const& id, std::string const& members)
{
    return "{\"session_id\": \"" + id + "\"" + (members.empty() ? "" : ", " + members) + "}";
}

std::string NumberedRecord(int process, long long index, std::string const& payload)
{
    return "{\"p\": " + std::to_string(process) + ", \"i\": " + std::to_string(index) + ", \"payload\": \"" + payload +
           "\"}";
}

std::vector<std::pair<int, long long>> Numbers(std::vector<StoredRecord> const& records)
{
    std::vector<std::pair<int, long long>> numbers;
    for (StoredRecord const& record : records) {
        JsonDocument const args = Parse(record.args);
        if (args.IsObject() && args.HasMember("p") && args.HasMember("i"))
            numbers.emplace_back(args["p"].GetInt(), args["i"].GetInt64());
    }
    return numbers;
}

JsonDocument Parse(std::string const& text)
{
    JsonDocument document;
    if (document.Parse(text.c_str()).HasParseError())
        document.SetNull();
    return document;
}

bool SameJson(std::string const& left, std::string const& right)
{
    JsonDocument a, b;
    return !a.Parse(left.c_str()).HasParseError() && !b.Parse(right.c_str()).HasParseError() && a == b;
}

std::string PointerText(void const* pointer)
{
    std::ostringstream text;
    text << pointer;
    return text.str();
}

std::unique_ptr<Store> OpenStoreReadOnly()
{
    OpenReport report;
    std::unique_ptr<Store> store = Store::Open(StoreFolder().string(), report, OpenMode::ReadOnly);
    if (store == nullptr)
        ADD_FAILURE() << "cannot read the database: " << report.error;
    return store;
}

std::vector<StoredRecord> StoredRecords()
{
    std::unique_ptr<Store> const store = OpenStoreReadOnly();
    return store != nullptr ? store->Records(RecordFilter{}) : std::vector<StoredRecord>();
}

std::map<std::string, std::string> StoredSettings()
{
    std::unique_ptr<Store> const store = OpenStoreReadOnly();
    return store != nullptr ? store->Settings() : std::map<std::string, std::string>();
}

std::vector<std::vector<std::string>> Query(std::string const& sql)
{
    std::vector<std::vector<std::string>> rows;
    sqlite3* db = nullptr;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_open_v2(DatabaseFile().c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK ||
        sqlite3_busy_timeout(db, 20000) != SQLITE_OK ||
        sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << sql << ": " << sqlite3_errmsg(db);
    } else {
        while (sqlite3_step(statement) == SQLITE_ROW) {
            rows.emplace_back();
            for (int column = 0; column < sqlite3_column_count(statement); ++column) {
                auto const text = sqlite3_column_text(statement, column);
                rows.back().emplace_back(text != nullptr ? reinterpret_cast<char const*>(text) : "");
            }
        }
    }
    sqlite3_finalize(statement);
    sqlite3_close_v2(db);
    return rows;
}

DatabaseLock::DatabaseLock()
{
    m_held = sqlite3_open_v2(DatabaseFile().c_str(), &m_db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK &&
             sqlite3_busy_timeout(m_db, 20000) == SQLITE_OK &&
             sqlite3_exec(m_db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) == SQLITE_OK;
}

void DatabaseLock::Release()
{
    if (m_held)
        sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
    m_held = false;
    sqlite3_close_v2(m_db);
    m_db = nullptr;
}

pid_t Spawn(std::function<int()> const& body)
{
    pid_t const child = fork();
    if (child == 0) {
        int result = 1;
        try {
            result = body();
        } catch (...) {
        }
        _exit(result);
    }
    return child;
}

int ExitStatus(pid_t child)
{
    int status = 0;
    bool const ended = PollUntil([&] { return waitpid(child, &status, WNOHANG) == child; }, std::chrono::seconds(120));
    if (!ended) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        ADD_FAILURE() << "child " << child << " did not end in time";
        return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace CoreTesting
