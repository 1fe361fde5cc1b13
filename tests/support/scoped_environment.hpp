#pragma once
/// \file
/// `ScopedEnvironment`, an environment variable for the life of a test.

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace quendokit::testing {

/// Sets a variable, or takes it away when the value is null, and puts the old state back. Of a new TZ the C library is
/// not told, as in a program that only changes its environment; of the old one it is.
class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, const char* value) : name_(name) {
        if (const char* before = std::getenv(name)) {
            before_ = before;
        }
        set(value);
    }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
    ~ScopedEnvironment() {
        set(before_ ? before_->c_str() : nullptr);
        ::tzset();
    }

private:
    void set(const char* value) {
        if (value != nullptr) {
            ::setenv(name_.c_str(), value, 1);
        } else {
            ::unsetenv(name_.c_str());
        }
    }

    const std::string name_;
    std::optional<std::string> before_;
};

}  // namespace quendokit::testing
