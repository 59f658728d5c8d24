// Path's file operations, on trees made in the launcher's private /tmp.
#include "TestIsolation.h"
#include "support/Path.h"

#include <gtest/gtest.h>

#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

using Norvane::QDXDesktopSDK::Path;
using Names = std::vector<std::string>;

namespace {

class PathFilesTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        ASSERT_TRUE(m_root.CreateDir());
    }
    void TearDown() override { Path::SetGlobalFileAttribute(ULONG_MAX); }

    Path At(char const* relative) const { return m_root.Append(Path(relative)); }
    static bool Write(Path const& file, std::string const& text, char const* temporarySuffix = nullptr)
    {
        return file.WriteFile(text.data(), static_cast<long long>(text.size()), 0, temporarySuffix, nullptr);
    }
    std::string Read(char const* relative) const { return At(relative).ReadFileAsString(-1); }
    // The entries of the test folder, to see that no temporary file remains.
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

unsigned Mode(Path const& path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

}  // namespace

TEST_F(PathFilesTest, CreateDirMakesParentsAndAppliesTheGlobalAttribute)
{
    mode_t const mask = umask(022);
    EXPECT_TRUE(At("a/b/c").CreateDir());
    EXPECT_EQ(0755u, Mode(At("a/b")));
    Path::SetGlobalFileAttribute(0711);
    EXPECT_TRUE(At("a/x/y").CreateDir());
    EXPECT_EQ(0711u, Mode(At("a/x")));
    ASSERT_TRUE(Write(At("file"), "1"));
    EXPECT_EQ(0711u, Mode(At("file")));
    umask(mask);
    EXPECT_TRUE(At("a/b").CreateDir());
    for (Path const& refused : {Path(), At("file"), At("file/sub")})
        EXPECT_FALSE(refused.CreateDir()) << refused.GetString();
}

TEST_F(PathFilesTest, WriteFileReplacesThroughATemporaryThatDoesNotRemain)
{
    for (char const* suffix : {"", ".part", static_cast<char const*>(nullptr)}) {
        ASSERT_TRUE(Write(At("f"), "old"));
        EXPECT_TRUE(Write(At("f"), "new text", suffix));
        EXPECT_EQ("new text", Read("f"));
        EXPECT_EQ(Names{"f"}, List()) << (suffix ? suffix : "null");
    }
    EXPECT_FALSE(Write(Path(), "x"));
}

TEST_F(PathFilesTest, WriteFileThroughAHandleStaysOpenUntilANegativeSize)
{
    void* handle = nullptr;
    Path const file = At("f");
    ASSERT_TRUE(Write(file, "old"));
    EXPECT_TRUE(file.WriteFile("ab", 2, 0, "", &handle));
    ASSERT_NE(nullptr, handle);
    EXPECT_FALSE(file.WriteFile("", 0, 0, "", &handle));  // nothing written
    EXPECT_TRUE(file.WriteFile("cd", 2, 0, "", &handle));
    EXPECT_EQ("old", Read("f"));  // the temporary holds the bytes until the close
    EXPECT_TRUE(file.WriteFile(nullptr, -1, 0, "", &handle));
    EXPECT_EQ(nullptr, handle);
    EXPECT_EQ("abcd", Read("f"));
    EXPECT_EQ(Names{"f"}, List());

    EXPECT_TRUE(file.WriteFile("xy", 2, 3, nullptr, nullptr));
    EXPECT_EQ(std::string("\0\0\0xy", 5), Read("f"));
}

TEST_F(PathFilesTest, FailedWriteLeavesTheOldFileAndNoTemporary)
{
    ASSERT_TRUE(Write(At("f"), "old"));
    ASSERT_TRUE(At("f.saving").CreateDir());  // the temporary cannot be created
    EXPECT_FALSE(Write(At("f"), "new", ""));
    EXPECT_EQ("old", Read("f"));
    ASSERT_TRUE(At("f.saving").DeleteDirectory());

    // Midway: the file size limit stops the write after the first block.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit saved;
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &saved));
    rlimit small = saved;
    small.rlim_cur = 4096;
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &small));
    bool const written = Write(At("f"), std::string(256 * 1024, 'n'), "");
    setrlimit(RLIMIT_FSIZE, &saved);
    EXPECT_FALSE(written);
    EXPECT_EQ("old", Read("f"));
    EXPECT_EQ(Names{"f"}, List());
}

TEST_F(PathFilesTest, ReadOnlyFolderRefusesWrites)
{
    ASSERT_TRUE(Write(At("ro/f"), "old"));
    // A read-only bind of the folder over itself stops writes even for root.
    Path const folder = At("ro");
    if (mount(folder.c_str(), folder.c_str(), nullptr, MS_BIND, nullptr) != 0 ||
        mount(nullptr, folder.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) != 0)
        GTEST_SKIP() << "cannot bind-mount read-only here";
    for (char const* path : {"ro", "ro/f", "ro/not/yet"})
        EXPECT_FALSE(At(path).IsWritable()) << path;
    EXPECT_FALSE(Write(At("ro/f"), "new", ""));
    EXPECT_FALSE(At("ro/sub").CreateDir());
    EXPECT_EQ("old", Read("ro/f"));
}

TEST_F(PathFilesTest, IsWritableProbesTheNearestExistingFolderAndLeavesNothing)
{
    ASSERT_TRUE(Write(At("f"), "x"));
    for (char const* path : {"/tmp/files", "/tmp/files/f", "/tmp/files/no/such/deep"})
        EXPECT_TRUE(Path(path).IsWritable()) << path;
    for (char const* path : {"", "/proc/self", "/proc/self/no/such"})
        EXPECT_FALSE(Path(path).IsWritable()) << path;
    EXPECT_EQ(Names{"f"}, List());
}

TEST_F(PathFilesTest, GetTempFileTakesTheFirstFreeNumber)
{
    EXPECT_EQ("/tmp/files/p.e", m_root.GetTempFile("p", "e", nullptr).GetString());
    ASSERT_TRUE(Write(At("p.e"), "x"));
    ASSERT_TRUE(Write(At("p1.e"), "x"));
    EXPECT_EQ("/tmp/files/p2.e", m_root.GetTempFile("p", ".e", nullptr).GetString());
    EXPECT_EQ("/tmp/files/p", m_root.GetTempFile("p", nullptr, nullptr).GetString());
    unsigned long counter = 1;
    EXPECT_EQ("/tmp/files/p2.e", m_root.GetTempFile("p", "e", &counter).GetString());
    EXPECT_EQ(3u, counter);
}

TEST_F(PathFilesTest, ReadsArePositionedAndBounded)
{
    ASSERT_TRUE(Write(At("f"), "0123456789"));
    struct Case {
        long long offset, size, read;
        char const* bytes;
    };
    for (Case const& c : {Case{0, 4, 4, "0123"}, Case{6, 100, 4, "6789"}, Case{99, 4, 0, ""}, Case{-1, 4, -1, ""},
                          Case{0, -1, -1, ""}}) {
        char buffer[128] = {};
        EXPECT_EQ(c.read, At("f").ReadFile(c.offset, c.size, buffer)) << c.offset << "+" << c.size;
        EXPECT_STREQ(c.bytes, buffer) << c.offset << "+" << c.size;
    }
    char buffer[4];
    EXPECT_EQ(-1, At("missing").ReadFile(0, 4, buffer));
    EXPECT_EQ("012", At("f").ReadFileAsString(3));
    EXPECT_EQ("", Read("missing"));
    EXPECT_NE(std::string::npos, Path("/proc/self/status").ReadFileAsString(-1).find("Pid:"));  // size 0 on disk
}

TEST_F(PathFilesTest, DeleteCountsWhatWentAndKeepsWhatPatternsLeave)
{
    for (char const* file :
         {"t/a.log", "t/b.txt", "t/sub/c.log", "t/sub/d.keep", "t/x.log/e.txt", "t/only/f.log", "target/z"})
        ASSERT_TRUE(Write(At(file), "x"));
    ASSERT_EQ(0, symlink("/tmp/files/target", "/tmp/files/t/link"));

    EXPECT_EQ(0, At("t").Delete(false, nullptr, nullptr));  // not empty
    // Only entries whose own names are selected go: x.log keeps e.txt and
    // stays, the emptied folder "only" was not selected and stays too.
    EXPECT_EQ(3, At("t").Delete(true, "*.LOG", nullptr));
    EXPECT_TRUE(At("t/x.log/e.txt").Exists());
    EXPECT_TRUE(At("t/only").IsDir());
    EXPECT_EQ(4, At("t").Delete(true, nullptr, "*.keep;link"));  // b.txt, x.log/e.txt, x.log and only
    EXPECT_TRUE(At("t/sub/d.keep").Exists());
    EXPECT_EQ(1, At("t/link").Delete(true, nullptr, nullptr));  // a link goes as a link
    EXPECT_TRUE(At("target/z").Exists());
    EXPECT_TRUE(At("t").DeleteDirectoryRecursive());
    EXPECT_FALSE(At("t").Exists());
    EXPECT_FALSE(At("t").DeleteDirectoryRecursive());
}

TEST_F(PathFilesTest, CopyAndMove)
{
    ASSERT_TRUE(Write(At("src/a"), "A"));
    ASSERT_TRUE(Write(At("src/sub/b"), "B"));
    ASSERT_EQ(0, chmod(At("src/a").c_str(), 0640));
    ASSERT_EQ(0, symlink("a", At("src/link").c_str()));

    EXPECT_TRUE(Path("/tmp/files/src/").Copy(At("dst"), true));
    EXPECT_EQ("B", Read("dst/src/sub/b"));
    EXPECT_EQ(0640u, Mode(At("dst/src/a")));
    EXPECT_EQ("a", std::filesystem::read_symlink(At("dst/src/link").GetString()).string());
    EXPECT_TRUE(At("src").Copy(At("dst"), true));   // again, over the first copy
    EXPECT_TRUE(At("src/a").CopyFile(At("src/a")));  // onto itself: kept, not truncated
    EXPECT_EQ("A", Read("src/a"));
    EXPECT_TRUE(At("src").Copy(At("SRC"), false));  // the same folder, regardless of case
    EXPECT_FALSE(At("src").Copy(At("src/inner"), false));
    EXPECT_FALSE(At("missing").Copy(At("dst"), true));

    EXPECT_FALSE(At("src/a").Move(At("src/sub/b"), false));
    EXPECT_TRUE(At("src/a").Move(At("src/sub/b"), true));
    EXPECT_EQ("A", Read("src/sub/b"));
    EXPECT_FALSE(At("src/a").Move(At("c"), true));
}

TEST_F(PathFilesTest, SizeTimesAndAttributes)
{
    Path const file = At("f");
    ASSERT_TRUE(Write(file, "12345"));
    EXPECT_EQ(5, file.GetFileSize());
    EXPECT_TRUE(file.SetFileTimes(1000000001234, 2000000005678));
    EXPECT_TRUE(file.SetFileTimes(-1, 3000));  // the access time stays
    EXPECT_EQ(1000000001234, file.GetAccessTime());
    EXPECT_EQ(3000, file.GetModificationTime());
    EXPECT_EQ(-1, At("missing").GetFileSize());

    if (!file.SetExtendedAttribute("origin", std::string("a\0b", 3)))
        GTEST_SKIP() << "no user extended attributes on /tmp here";
    ASSERT_TRUE(file.SetExtendedAttribute("second", ""));
    std::string value;
    EXPECT_TRUE(file.GetExtendedAttribute("origin", value));
    EXPECT_EQ(std::string("a\0b", 3), value);
    Names names;
    EXPECT_TRUE(file.ListExtendedAttributes(names));
    std::sort(names.begin(), names.end());
    EXPECT_EQ((Names{"origin", "second"}), names);
    EXPECT_TRUE(file.RemoveExtendedAttribute("origin"));
    EXPECT_FALSE(file.GetExtendedAttribute("origin", value));
    EXPECT_FALSE(At("missing").ListExtendedAttributes(names));
}
