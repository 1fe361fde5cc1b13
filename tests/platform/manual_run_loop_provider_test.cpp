#include "testing/manual_run_loop_provider.hpp"

#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "quendokit/platform/services.hpp"

namespace quendokit::testing {
namespace {

TEST(ManualRunLoopProvider, GivesEveryThreadTheMainLoop) {
    ManualRunLoopProvider provider;
    EXPECT_EQ(&provider.current(), &provider.main());
    RunLoop* ofOther = nullptr;
    std::thread other([&] { ofOther = &provider.current(); });
    other.join();
    EXPECT_EQ(ofOther, &provider.main());
}

TEST(ManualRunLoopProvider, GivesTheLoopOfAScopeWithinIt) {
    ManualRunLoopProvider provider;
    const auto outer = std::make_shared<ManualRunLoop>();
    const auto inner = std::make_shared<ManualRunLoop>();
    {
        const ManualRunLoopProvider::ScopedCurrent outerScope(provider, outer);
        {
            const ManualRunLoopProvider::ScopedCurrent innerScope(provider, inner);
            EXPECT_EQ(&provider.current(), inner.get());
        }
        EXPECT_EQ(&provider.current(), outer.get());
        EXPECT_NE(&provider.main(), outer.get());
    }
    EXPECT_EQ(&provider.current(), &provider.main());
}

TEST(ManualRunLoopProvider, GivesOtherThreadsTheirOwn) {
    ManualRunLoopProvider provider;
    const auto ofMain = std::make_shared<ManualRunLoop>();
    const ManualRunLoopProvider::ScopedCurrent scope(provider, ofMain);
    std::thread other([&] {
        const auto ofOther = std::make_shared<ManualRunLoop>();
        const ManualRunLoopProvider::ScopedCurrent otherScope(provider, ofOther);
        EXPECT_EQ(&provider.current(), ofOther.get());
    });
    other.join();
    EXPECT_EQ(&provider.current(), ofMain.get());
}

TEST(ManualRunLoopProvider, IsWhatTheEngineAsks) {
    const auto main = std::make_shared<ManualRunLoop>();
    const auto provider = std::make_shared<ManualRunLoopProvider>(main);
    platform::Services services;
    services.runLoopProvider = provider;
    const platform::ScopedInstall installed(std::move(services));
    const auto other = std::make_shared<ManualRunLoop>();
    const ManualRunLoopProvider::ScopedCurrent scope(*provider, other);
    EXPECT_EQ(&RunLoop::main(), main.get());
    EXPECT_EQ(&RunLoop::current(), other.get());
}

}  // namespace
}  // namespace quendokit::testing
