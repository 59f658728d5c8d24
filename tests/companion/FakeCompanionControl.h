#ifndef QDX_FAKE_COMPANION_CONTROL_H
#define QDX_FAKE_COMPANION_CONTROL_H

#include "FakeCompanions.h"
#include "support/Path.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <string>
#include <vector>

/// A copy of a fake companion placed in a test folder, opened by the test
/// itself so that it can be scripted before a sender loads the same file
/// (the loader then hands out the same instance) and its calls read after.
class FakeCompanionCopy {
public:
    struct Call {
        std::string entry;
        std::string name;
        std::string data;
    };

    FakeCompanionCopy(char const* built, Norvane::QDXDesktopSDK::Path const& folder)
        : m_file(folder.Append(Norvane::QDXDesktopSDK::Path(built).FileName()))
    {
        EXPECT_TRUE(folder.CreateDir() && Norvane::QDXDesktopSDK::Path(built).CopyFile(m_file)) << m_file.c_str();
        m_handle = dlopen(m_file.c_str(), RTLD_LAZY);
        EXPECT_NE(nullptr, m_handle) << dlerror();
    }
    ~FakeCompanionCopy()
    {
        if (m_handle != nullptr)
            dlclose(m_handle);
    }
    FakeCompanionCopy(FakeCompanionCopy const&) = delete;
    FakeCompanionCopy& operator=(FakeCompanionCopy const&) = delete;

    Norvane::QDXDesktopSDK::Path const& File() const { return m_file; }
    void* Handle() const { return m_handle; }

    void SetInitializeStatus(int status) { Control<void (*)(int)>("FakeSetInitializeStatus")(status); }
    void SetAnswer(char const* answer) { Control<void (*)(char const*)>("FakeSetAnswer")(answer); }
    int OutstandingAnswers() { return Control<int (*)()>("FakeOutstandingAnswers")(); }
    int UnknownFrees() { return Control<int (*)()>("FakeUnknownFrees")(); }

    std::vector<Call> Calls()
    {
        std::vector<Call> calls;
        int const count = Control<int (*)()>("FakeCallCount")();
        for (int i = 0; i < count; ++i)
            calls.push_back({Control<char const* (*)(int)>("FakeCallEntry")(i),
                             Control<char const* (*)(int)>("FakeCallName")(i),
                             Control<char const* (*)(int)>("FakeCallData")(i)});
        return calls;
    }

    /// How often `entry` was called.
    int Count(std::string const& entry)
    {
        int count = 0;
        for (Call const& call : Calls())
            count += call.entry == entry ? 1 : 0;
        return count;
    }

private:
    template <typename Function>
    Function Control(char const* name)
    {
        return reinterpret_cast<Function>(dlsym(m_handle, name));
    }

    Norvane::QDXDesktopSDK::Path m_file;
    void* m_handle = nullptr;
};

#endif
