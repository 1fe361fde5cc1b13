#pragma once
/// \file
/// `RealmFactory`: what an implementation of `Realm` supplies so that the suites of tests can run on it.

#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "quendokit/platform/realm.hpp"
#include "testing/fail_at.hpp"
#include "testing/old_objects.hpp"

namespace quendokit::testing {

/// Makes the databases of one test. Lives as long as the test, outlives every realm it made, and clears up behind it.
/// Only `make` is required: tests of what the implementation does not offer are skipped, and say so. One thread.
class RealmFactory {
public:
    RealmFactory() = default;
    RealmFactory(const RealmFactory&) = delete;
    RealmFactory& operator=(const RealmFactory&) = delete;
    virtual ~RealmFactory() = default;

    /// A new database of its own, apart from all earlier ones: empty, or one that held `old` before it was opened with
    /// `configuration`, which is of a newer version and has migrated it. Never null. `configuration.fileURL` is absent;
    /// the factory chooses the place.
    [[nodiscard]] virtual std::shared_ptr<Realm> make(const RealmConfiguration& configuration,
                                                      const std::optional<OldObjects>& old = std::nullopt) = 0;

    /// Opens the database of the last `make` anew, after the test has let go of every realm on it. Null when nothing
    /// outlives the realm.
    [[nodiscard]] virtual std::shared_ptr<Realm> reopen(const RealmConfiguration& /*configuration*/) { return nullptr; }

    /// Opens the database of the last `make` a second time, as another process would, while the test still holds the
    /// first realm. Null when only one realm at a time can use it.
    [[nodiscard]] virtual std::shared_ptr<Realm> openSecond(const RealmConfiguration& /*configuration*/) {
        return nullptr;
    }

    /// Lets the next write on the realm of the last `make` fail, one that changes something; the write after it works
    /// again. Answers false when failures cannot be provoked.
    [[nodiscard]] virtual bool failNextWrite(FailAt /*at*/) { return false; }
};

/// One implementation of `Realm`, the parameter of the suites.
struct RealmImplementation {
    /// Part of the names of its tests: letters and digits.
    std::string name;
    /// Called once a test, with a clock installed.
    std::function<std::unique_ptr<RealmFactory>()> makeFactory;

    friend void PrintTo(const RealmImplementation& implementation, std::ostream* stream) {
        *stream << implementation.name;
    }
};

}  // namespace quendokit::testing
