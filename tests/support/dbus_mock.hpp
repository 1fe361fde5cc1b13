#pragma once
/// \file
/// `DBusMock`, a desktop's service played by python-dbusmock.

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/private_bus.hpp"

namespace quendokit::testing {

/// A process that provides a service on a private bus, and does what the test tells it.
class DBusMock {
public:
    inline static const std::string interface = "org.freedesktop.DBus.Mock";
    /// Debian's own, whatever another one in PATH may lack.
    inline static const std::string python = "/usr/bin/python3";

    /// Starts the template, with `parameters` as JSON, and waits until it provides `name`.
    DBusMock(const PrivateBus& bus, const std::string& templateName, const std::string& name, const std::string& path,
             const std::string& parameters = "{}")
        : DBusMock(bus, {python, "-m", "dbusmock", "--session", "--template", templateName, "--parameters", parameters},
                   name, path) {}
    /// Starts an object without anything but what the test adds.
    static std::unique_ptr<DBusMock> empty(const PrivateBus& bus, const std::string& name, const std::string& path,
                                           const std::string& ofInterface) {
        return std::unique_ptr<DBusMock>(
            new DBusMock(bus, {python, "-m", "dbusmock", "--session", name, path, ofInterface}, name, path));
    }

    /// Makes the service send a signal from `object`, of the given signature.
    void emit(const std::string& object, const std::string& ofInterface, const std::string& member,
              const std::string& signature, const std::vector<sdbus::Variant>& arguments) {
        peer_.call(name_, object, interface, "EmitSignal", ofInterface, member, signature, arguments);
    }

    /// Adds a method whose body is Python.
    void addMethod(const std::string& object, const std::string& ofInterface, const std::string& member,
                   const std::string& in, const std::string& out, const std::string& code) {
        peer_.call(name_, object, interface, "AddMethod", ofInterface, member, in, out, code);
    }

    /// Sets properties of `object` and tells so.
    void update(const std::string& object, const std::string& ofInterface,
                const std::map<std::string, sdbus::Variant>& values) {
        peer_.call(name_, object, interface, "UpdateProperties", ofInterface, values);
    }

    /// The arguments of each call of a method.
    [[nodiscard]] std::vector<std::vector<sdbus::Variant>> calls(const std::string& object, const std::string& member) {
        std::vector<sdbus::Struct<std::uint64_t, std::vector<sdbus::Variant>>> all;
        auto reply = peer_.call(name_, object, interface, "GetMethodCalls", member);
        reply >> all;
        std::vector<std::vector<sdbus::Variant>> arguments;
        for (const auto& one : all) {
            arguments.push_back(std::get<1>(one));
        }
        return arguments;
    }

    [[nodiscard]] BusPeer& peer() { return peer_; }
    /// As a service that has crashed.
    void kill() { process_.end(SIGKILL); }
    void hold() const { process_.hold(); }
    void goOn() const { process_.goOn(); }

private:
    DBusMock(const PrivateBus& bus, const std::vector<std::string>& words, const std::string& name,
             const std::string& path)
        : name_(name),
          path_(path),
          process_(words, {{"DBUS_SESSION_BUS_ADDRESS", bus.address()}}, (bus.folder() / "mock.log").string()),
          peer_(bus) {
        if (!peer_.waitForOwner(name)) {
            throw std::runtime_error(
                "the mock does not start; is the package python3-dbusmock installed? scripts/setup --tests");
        }
    }

    const std::string name_;
    const std::string path_;
    BackgroundProgram process_;
    BusPeer peer_;
};

}  // namespace quendokit::testing
