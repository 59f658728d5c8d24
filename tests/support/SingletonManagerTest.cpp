#include "support/SingletonManager.h"
#include "support/TestWait.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace Norvane::QDXDesktopSDK;

namespace {

std::mutex s_journalMutex;
std::vector<std::string> s_destroyed;  // guarded by s_journalMutex

std::vector<std::string> Destroyed()
{
    std::lock_guard<std::mutex> lock(s_journalMutex);
    return s_destroyed;
}

// A registered test service; several may live under different names.
class Probe : public Singleton {
public:
    static inline std::atomic<int> s_created{0};

    Probe() { ++s_created; }
    ~Probe() override
    {
        std::lock_guard<std::mutex> lock(s_journalMutex);
        s_destroyed.push_back(GetSingletonName());
    }

    static Singleton* Create(Singleton*& slot, SingletonFlag flag)
    {
        if (flag == GetOrCreate && slot == nullptr)
            slot = new Probe();
        return slot;
    }

    static Singleton* Get(SingletonFlag flag, char const* name, int order = 1)
    {
        return Singleton::GetInstanceImpl(&Create, flag, name, order);
    }
};

}  // namespace

TEST(SingletonManagerTest, RequestsFindCreateAndDestroyByName)
{
    EXPECT_EQ(nullptr, Probe::Get(Singleton::GetExisting, "Alpha"));
    EXPECT_EQ(nullptr, SingletonManager::Instance(Singleton::GetExisting));

    Singleton* alpha = Probe::Get(Singleton::GetOrCreate, "Alpha", 3);
    ASSERT_NE(nullptr, alpha);
    EXPECT_EQ("Alpha", alpha->GetSingletonName());
    EXPECT_EQ(3, alpha->GetSingletonOrder());
    EXPECT_EQ(alpha, Probe::Get(Singleton::GetOrCreate, "Alpha"));
    SingletonManager* registry = SingletonManager::Instance(Singleton::GetExisting);
    ASSERT_NE(nullptr, registry);
    EXPECT_EQ(alpha, registry->GetInstanceByName("Alpha", Singleton::GetExisting));
    // Without a creation function nothing unknown comes into being.
    EXPECT_EQ(nullptr, registry->GetInstanceByName("Beta", Singleton::GetOrCreate));
    EXPECT_EQ(nullptr, Probe::Get(Singleton::Destroy, "Beta"));

    EXPECT_EQ(nullptr, Probe::Get(Singleton::Destroy, "Alpha"));
    EXPECT_EQ(std::vector<std::string>{"Alpha"}, Destroyed());
    EXPECT_EQ(nullptr, Probe::Get(Singleton::GetExisting, "Alpha"));
    ASSERT_NE(nullptr, Probe::Get(Singleton::GetOrCreate, "Alpha"));
    EXPECT_EQ(2, Probe::s_created.load());
}

TEST(SingletonManagerTest, RegistryDestroysHighestOrderFirstThenComesBackOnDemand)
{
    Probe::Get(Singleton::GetOrCreate, "One", 1);
    Probe::Get(Singleton::GetOrCreate, "Twelve", 12);
    Probe::Get(Singleton::GetOrCreate, "Seven", 7);
    Probe::Get(Singleton::GetOrCreate, "AlsoSeven", 7);

    EXPECT_EQ(nullptr, SingletonManager::Instance(Singleton::Destroy));
    EXPECT_EQ((std::vector<std::string>{"Twelve", "AlsoSeven", "Seven", "One"}), Destroyed());

    EXPECT_EQ(nullptr, Probe::Get(Singleton::GetExisting, "One", 1));
    EXPECT_EQ(nullptr, SingletonManager::Instance(Singleton::GetExisting));
    ASSERT_NE(nullptr, Probe::Get(Singleton::GetOrCreate, "One", 1));
    EXPECT_NE(nullptr, SingletonManager::Instance(Singleton::GetExisting));
    EXPECT_EQ(5, Probe::s_created.load());
}

TEST(SingletonManagerTest, RacingRequestsGetOneInstance)
{
    // Construction holds on until both requests are under way, so that the
    // second one arrives while the first is still constructing.
    static std::atomic<int> s_requests{0};
    auto const slowCreate = [](Singleton*& slot, Singleton::SingletonFlag flag) -> Singleton* {
        if (flag == Singleton::GetOrCreate && slot == nullptr)
            WaitUntil([] { return s_requests == 2; });
        return Probe::Create(slot, flag);
    };
    Singleton* results[2] = {nullptr, nullptr};
    std::thread racers[2];
    for (int i = 0; i < 2; ++i) {
        racers[i] = std::thread([&results, i, slowCreate] {
            ++s_requests;
            results[i] = Singleton::GetInstanceImpl(slowCreate, Singleton::GetOrCreate, "Slow", 2);
        });
    }
    for (std::thread& racer : racers)
        racer.join();
    ASSERT_NE(nullptr, results[0]);
    EXPECT_EQ(results[0], results[1]);
    EXPECT_EQ(1, Probe::s_created.load());
}

TEST(SingletonManagerTest, ConstructorMayRequestAnotherSingleton)
{
    struct Outer : Singleton {
        Singleton* inner = Probe::Get(GetOrCreate, "Inner");
        static Singleton* Create(Singleton*& slot, SingletonFlag flag)
        {
            if (flag == GetOrCreate && slot == nullptr)
                slot = new Outer();
            return slot;
        }
    };
    auto* outer = static_cast<Outer*>(Singleton::GetInstanceImpl(&Outer::Create, Singleton::GetOrCreate, "Outer", 2));
    ASSERT_NE(nullptr, outer);
    EXPECT_NE(nullptr, outer->inner);
    EXPECT_EQ(outer->inner, Probe::Get(Singleton::GetExisting, "Inner"));
}

TEST(SingletonManagerTest, CreationFunctionMayDeclineOrTakeOverDestruction)
{
    static int s_attempts = 0;
    static int s_selfDestroyed = 0;
    auto const secondTime = [](Singleton*& slot, Singleton::SingletonFlag flag) -> Singleton* {
        if (flag == Singleton::GetOrCreate && slot == nullptr && ++s_attempts == 2)
            slot = new Probe();
        if (flag == Singleton::Destroy) {
            ++s_selfDestroyed;
            delete slot;
            slot = nullptr;
        }
        return slot;
    };
    EXPECT_EQ(nullptr, Singleton::GetInstanceImpl(secondTime, Singleton::GetOrCreate, "Shy", 1));
    ASSERT_NE(nullptr, Singleton::GetInstanceImpl(secondTime, Singleton::GetOrCreate, "Shy", 1));
    // The registry must not delete again what the class destroyed itself.
    EXPECT_EQ(nullptr, Singleton::GetInstanceImpl(secondTime, Singleton::Destroy, "Shy", 1));
    EXPECT_EQ(1, s_selfDestroyed);
    EXPECT_EQ(std::vector<std::string>{"Shy"}, Destroyed());
}
