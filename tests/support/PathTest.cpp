// Path's text rules, file operations on trees in the private /tmp, and folders.
#include "TestIsolation.h"
#include "support/Path.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pwd.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using Norvane::QDXDesktopSDK::Path;
using Names = std::vector<std::string>;

static std::string Apply(std::string const& rule, Path const& path, char const* argument)
{
    using Plain = std::pair<char const*, Path (Path::*)() const>;
    for (auto const& [name, plain] :
         {Plain{"Parent", &Path::Parent}, Plain{"FileName", &Path::FileName}, Plain{"GetRoot", &Path::GetRoot},
          Plain{"RemoveRoot", &Path::RemoveRoot}, Plain{"WithoutExt", &Path::FileNameWithoutExt}})
        if (rule == name)
            return (path.*plain)().GetString();
    if (rule == "GetExtension")
        return path.GetExtension();
    if (rule == "RenameExtension")
        return path.RenameExtension(argument).GetString();
    return (rule == "Append" ? path.Append(argument) : path.GetRelativePath(argument)).GetString();
}

TEST(PathTest, TextRules)
{
    using Case = std::tuple<char const*, char const*, char const*, char const*>;
    // clang-format off
    Case const cases[] = {
        {"Parent", "/a/b", nullptr, "/a"}, {"Parent", "/a", nullptr, "/"}, {"Parent", "/", nullptr, "/"},
        {"Parent", "a", nullptr, ""}, {"Parent", "/a/b/", nullptr, "/a"}, {"Parent", "//a", nullptr, "/"},
        {"FileName", "/a/b.txt", nullptr, "b.txt"}, {"GetRoot", "/a/b", nullptr, "/a"},
        {"GetRoot", "~/x", nullptr, "~"}, {"GetRoot", "a/b/c", nullptr, "a"}, {"GetRoot", "/", nullptr, "/"},
        {"RemoveRoot", "/a//b/", nullptr, "b"}, {"RemoveRoot", "~/x", nullptr, "x"},
        {"RemoveRoot", "/a///", nullptr, ""}, {"GetExtension", "archive.tar.gz", nullptr, ".gz"},
        {"GetExtension", ".profile", nullptr, ".profile"}, {"GetExtension", "/a.d/file", nullptr, ""},
        {"WithoutExt", "/x/archive.tar.gz", nullptr, "archive.tar"}, {"WithoutExt", "/x/.profile", nullptr, ""},
        {"RenameExtension", "name.log", ".txt", "name.txt"}, {"RenameExtension", "name.log", "txt", "name.txt"},
        {"RenameExtension", "name.log", ".", "name"}, {"RenameExtension", "name.log", nullptr, "name"},
        {"RenameExtension", "/x/a.b.c", "d", "/x/a.b.d"}, {"Append", "/", "/x", "/x"}, {"Append", "a/", "b/", "a/b"},
        {"Append", "", "/x", "x"}, {"Append", "/a//", "//b//c//", "/a/b//c"}, {"Append", "~", "x", "~/x"},
        {"GetRelativePath", "/a/b/c", "/a", "b/c"}, {"GetRelativePath", "/a/b", "/a/c/d", "../../b"},
        {"GetRelativePath", "/a", "/A", ""}};
    // clang-format on
    for (auto const& [rule, path, argument, expected] : cases)
        EXPECT_EQ(expected, Apply(rule, path, argument)) << rule << " of " << path;

    using Prefix = std::tuple<char const*, char const*, bool>;
    for (auto const& [prefix, path, expected] :
         {Prefix{"/", "/a", true}, Prefix{"/a", "/a", true}, Prefix{"/A", "/a/b", true}, Prefix{"/a/b", "/a", false},
          Prefix{"/a/b", "/a/bc", false}, Prefix{"/a//b/", "/a/b/c", true}})
        EXPECT_EQ(expected, Path(prefix).IsPreFixOf(path)) << prefix << " of " << path;
    EXPECT_TRUE(Path("/Opt/X") == Path("/opt/x"));
    EXPECT_LT(Path("/a").Compare("/B"), 0);
}

class PathFilesTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        ASSERT_TRUE(m_root.CreateDir());
    }
    Path At(char const* relative) const { return m_root.Append(relative); }
    static bool Write(Path const& file, std::string const& text, char const* temporarySuffix = nullptr)
    {
        return file.WriteFile(text.data(), static_cast<long long>(text.size()), 0, temporarySuffix, nullptr);
    }
    std::string Read(char const* relative) const { return At(relative).ReadFileAsString(-1); }
    Names List() const
    {
        Names names;
        for (auto const& entry : std::filesystem::directory_iterator(m_root.GetString()))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    Path m_root{"/tmp/files"};
};

TEST_F(PathFilesTest, WriteFileReplacesAtomically)
{
    for (char const* suffix : {"", ".part", static_cast<char const*>(nullptr)}) {
        ASSERT_TRUE(Write(At("f"), "old"));
        EXPECT_TRUE(Write(At("f"), "new text", suffix));
        EXPECT_EQ("new text", Read("f"));
        EXPECT_EQ(Names{"f"}, List()) << (suffix ? suffix : "null");
    }

    // The file size limit stops the write after the first block.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit saved;
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &saved));
    rlimit small = saved;
    small.rlim_cur = 4096;
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &small));
    bool const written = Write(At("f"), std::string(256 * 1024, 'n'), "");
    setrlimit(RLIMIT_FSIZE, &saved);
    EXPECT_FALSE(written);
    EXPECT_EQ("new text", Read("f"));
    EXPECT_EQ(Names{"f"}, List());
}

TEST_F(PathFilesTest, IsWritableAsksTheNearestExistingFolder)
{
    ASSERT_TRUE(Write(At("f"), "x"));
    for (char const* path : {"/tmp/files", "/tmp/files/f", "/tmp/files/no/such/deep"})
        EXPECT_TRUE(Path(path).IsWritable()) << path;
    for (char const* path : {"", "/proc/self", "/proc/self/no/such"})
        EXPECT_FALSE(Path(path).IsWritable()) << path;
    EXPECT_EQ(Names{"f"}, List());
}

TEST_F(PathFilesTest, DeleteCountsWhatWentAndKeepsWhatPatternsLeave)
{
    for (char const* file :
         {"t/a.log", "t/b.txt", "t/sub/c.log", "t/sub/d.keep", "t/x.log/e.txt", "t/only/f.log", "target/z"})
        ASSERT_TRUE(Write(At(file), "x"));
    ASSERT_EQ(0, symlink("/tmp/files/target", "/tmp/files/t/link"));
    EXPECT_EQ(0, At("t").Delete(false, nullptr, nullptr));  // not empty
    // Only entries whose own names are selected go: x.log and "only" stay.
    EXPECT_EQ(3, At("t").Delete(true, "*.LOG", nullptr));
    EXPECT_TRUE(At("t/x.log/e.txt").Exists());
    EXPECT_TRUE(At("t/only").IsDir());
    EXPECT_EQ(4, At("t").Delete(true, nullptr, "*.keep;link"));
    EXPECT_TRUE(At("t/sub/d.keep").Exists());
    EXPECT_EQ(1, At("t/link").Delete(true, nullptr, nullptr));  // a link goes as a link
    EXPECT_TRUE(At("target/z").Exists());
}

TEST_F(PathFilesTest, Copy)
{
    ASSERT_TRUE(Write(At("src/a"), "A"));
    ASSERT_TRUE(Write(At("src/sub/b"), "B"));
    ASSERT_EQ(0, symlink("a", At("src/link").c_str()));
    EXPECT_TRUE(Path("/tmp/files/src/").Copy(At("dst"), true));
    EXPECT_EQ("B", Read("dst/src/sub/b"));
    EXPECT_EQ("a", std::filesystem::read_symlink(At("dst/src/link").GetString()).string());
    EXPECT_TRUE(At("src/a").CopyFile(At("src/a")));  // onto itself: kept, not truncated
    EXPECT_EQ("A", Read("src/a"));
    EXPECT_FALSE(At("src").Copy(At("src/inner"), false));
}

TEST_F(PathFilesTest, ReadsRangesSizesTimesAndMovesAcrossFileSystems)
{
    ASSERT_TRUE(Write(At("digits"), "0123456789"));
    struct {
        long long offset, size, got;
        char const* bytes;
    } const reads[] = {{2, 3, 3, "234"}, {8, 5, 2, "89"}, {20, 4, 0, ""}, {-1, 1, -1, ""}, {0, -1, -1, ""}};
    for (auto const& r : reads) {
        char buffer[16] = {};
        EXPECT_EQ(r.got, At("digits").ReadFile(r.offset, r.size, buffer)) << r.offset << "+" << r.size;
        EXPECT_STREQ(r.bytes, buffer) << r.offset << "+" << r.size;
    }
    EXPECT_EQ(-1, At("none").ReadFile(0, 1, nullptr));
    EXPECT_EQ(10, At("digits").GetFileSize());
    EXPECT_EQ(-1, At("none").GetFileSize());
    EXPECT_TRUE(At("digits").SetFileTimes(1000, 2000));
    EXPECT_TRUE(At("digits").SetFileTimes(-1, 5000));  // a negative time stays as it is
    EXPECT_EQ(1000, At("digits").GetAccessTime());
    EXPECT_EQ(5000, At("digits").GetModificationTime());
    EXPECT_EQ(-1, At("none").GetModificationTime());

    ASSERT_TRUE(Write(At("other"), "x"));
    EXPECT_FALSE(At("digits").Move(At("other"), false));
    EXPECT_TRUE(At("digits").Move(At("other"), true));
    EXPECT_EQ("0123456789", Read("other"));
    // The home folder is a file system of its own in the sandbox: copied, then deleted.
    Path const home = Path::GetSpecialFolderPath(Path::SpecialFolder_Home, false).Append("moved");
    EXPECT_TRUE(At("other").Move(home, false));
    EXPECT_FALSE(At("other").Exists());
    EXPECT_EQ("0123456789", home.ReadFileAsString(-1));
}

TEST_F(PathFilesTest, ExtendedAttributes)
{
    ASSERT_TRUE(Write(At("tagged"), "x"));
    if (!At("tagged").SetExtendedAttribute("qdx", "first")) {
        // tmpfs keeps attributes of the user namespace only from Linux 6.6 on.
        ASSERT_EQ(ENOTSUP, errno);
        GTEST_SKIP() << "this kernel keeps no user attributes on tmpfs";
    }
    std::string value;
    EXPECT_TRUE(At("tagged").SetExtendedAttribute("qdx", "second"));
    EXPECT_TRUE(At("tagged").GetExtendedAttribute("qdx", value));
    EXPECT_EQ("second", value);
    std::vector<std::string> names;
    EXPECT_TRUE(At("tagged").ListExtendedAttributes(names));
    EXPECT_EQ(std::vector<std::string>{"qdx"}, names);
    EXPECT_TRUE(At("tagged").RemoveExtendedAttribute("qdx"));
    EXPECT_FALSE(At("tagged").GetExtendedAttribute("qdx", value));
    EXPECT_TRUE(value.empty());
    EXPECT_FALSE(At("none").RemoveExtendedAttribute("qdx"));
    EXPECT_FALSE(At("none").ListExtendedAttributes(names));
}

TEST(PathFoldersTest, HomeComesFromThePasswordEntryBeforeTheEnvironment)
{
    char const* const login = getlogin();
    passwd const* entry = login != nullptr ? getpwnam(login) : nullptr;
    entry = entry != nullptr ? entry : getpwuid(geteuid());
    ASSERT_NE(nullptr, entry);
    ASSERT_EQ(0, setenv("HOME", "/somewhere/else", 1));
    std::string const executable = std::filesystem::read_symlink("/proc/self/exe").string();
    using Case = std::pair<int, std::string>;
    for (auto const& [kind, expected] : {Case{0, entry->pw_dir}, Case{1, entry->pw_dir}, Case{2, "/opt"},
                                         Case{9, "/opt"}, Case{3, executable}, Case{6, executable}, Case{10, ""}})
        EXPECT_EQ(expected, Path::GetSpecialFolderPath(Path::SpecialFolderPath(kind), false).GetString()) << kind;
    EXPECT_TRUE(Path::GetSpecialFolderPath(Path::SpecialFolder_Module, false) == executable);
    EXPECT_EQ(executable, Path::GetModuleFilePath(nullptr, true).GetString());
    void* const address = dlsym(RTLD_DEFAULT, "cos");
    Dl_info info;
    ASSERT_NE(0, dladdr(address, &info));
    EXPECT_EQ(info.dli_fname, Path::GetModuleFilePath(address, false).GetString());
}
