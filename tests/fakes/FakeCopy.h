#ifndef QDX_TESTS_FAKE_COPY_H
#define QDX_TESTS_FAKE_COPY_H

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <filesystem>
#include <string>

/// A fake companion copied to `folder` and opened: a sender loading that file
/// gets this instance, whose calls the test scripts and reads.
class FakeCopy {
public:
    FakeCopy(char const* built, std::filesystem::path const& folder)
    {
        std::filesystem::path const file = folder / std::filesystem::path(built).filename();
        std::filesystem::create_directories(folder);
        std::filesystem::remove(file);  // a new file: the old one may still be mapped
        std::filesystem::copy_file(built, file);
        m_handle = dlopen(file.c_str(), RTLD_LAZY);
        EXPECT_NE(nullptr, m_handle) << dlerror();
    }
    ~FakeCopy() { dlclose(m_handle); }
    FakeCopy(FakeCopy const&) = delete;
    FakeCopy& operator=(FakeCopy const&) = delete;

    template <typename Function> Function* Entry(char const* name) const
    {
        return reinterpret_cast<Function*>(dlsym(m_handle, name));
    }
    void SetInitializeStatus(int status) const { Entry<void(int)>("FakeSetInitializeStatus")(status); }
    void SetEcho(bool echo) const { Entry<void(int)>("FakeSetEcho")(echo ? 1 : 0); }
    void SetAnswer(char const* text) const { Entry<void(char const*)>("FakeSetAnswer")(text); }
    void SetRecordFile(char const* path) const { Entry<void(char const*)>("FakeSetRecordFile")(path); }
    std::string Log() const { return Entry<char const*()>("FakeLog")(); }
    void* Handle() const { return m_handle; }

private:
    void* m_handle = nullptr;
};

#endif
