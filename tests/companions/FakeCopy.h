#ifndef QDX_TESTS_FAKE_COPY_H
#define QDX_TESTS_FAKE_COPY_H

#include "support/Path.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <string>

/// A fake companion copied to `folder` and opened: a sender loading that file
/// gets this instance, whose calls the test scripts and reads.
struct FakeCopy {
    FakeCopy(char const* built, Norvane::QDXDesktopSDK::Path const& folder)
    {
        Norvane::QDXDesktopSDK::Path const file = folder.Append(Norvane::QDXDesktopSDK::Path(built).FileName());
        EXPECT_TRUE(folder.CreateDir() && Norvane::QDXDesktopSDK::Path(built).CopyFile(file)) << file.c_str();
        handle = dlopen(file.c_str(), RTLD_LAZY);
        EXPECT_NE(nullptr, handle) << dlerror();
    }
    ~FakeCopy() { dlclose(handle); }
    FakeCopy(FakeCopy const&) = delete;
    FakeCopy& operator=(FakeCopy const&) = delete;

    template <typename Function> Function* Entry(char const* name) const
    {
        return reinterpret_cast<Function*>(dlsym(handle, name));
    }
    void SetInitializeStatus(int status) const { Entry<void(int)>("FakeSetInitializeStatus")(status); }
    void SetEcho(bool echo) const { Entry<void(int)>("FakeSetEcho")(echo ? 1 : 0); }
    std::string Log() const { return Entry<char const*()>("FakeLog")(); }

    void* handle = nullptr;
};

#endif
