#pragma once
/// \file
/// `DesktopSession`, a desktop with real notifications that a test looks at and clicks on.

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/background_program.hpp"
#include "tests/support/private_bus.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit::testing {

/// A virtual screen, a session bus of its own, and xfce4-notifyd, which the bus starts when the first notification
/// comes. The notifications lie in the upper left corner, in colours by which they are found on the screen. It shows
/// the way of opening a notification as a button too, the first from the left.
///
/// Throws when a program is missing, and says which package has it.
class DesktopSession {
public:
    DesktopSession();

    /// What a program on this desktop has in its environment besides PATH: the screen, the session bus, a system bus
    /// that is not there, and folders of its own for everything.
    [[nodiscard]] const std::map<std::string, std::string>& environment() const noexcept { return environment_; }
    [[nodiscard]] const PrivateBus& bus() const noexcept { return *bus_; }

    /// Waits until so many notifications are there, or so many buttons on all of them, and two looks in succession see
    /// them at the same place. False after half a minute.
    [[nodiscard]] bool waitForNotifications(std::size_t count) const;
    [[nodiscard]] bool waitForButtons(std::size_t count) const;

    /// Presses the button at this place: in lines from the top, in each from the left, from 0. Fails when there is
    /// none.
    [[nodiscard]] bool clickButton(std::size_t index) const;
    /// Clicks on a notification beside its buttons, which takes it away; counted from the top, from 0. Fails when there
    /// is none.
    [[nodiscard]] bool dismissNotification(std::size_t index) const;

    /// Writes what is on the screen to a file whose ending says in which form (".png").
    void takeScreenshot(const std::string& file) const;

private:
    struct Area {
        int left = 0;
        int top = 0;
        int right = 0;
        int bottom = 0;
        bool operator==(const Area&) const = default;
    };
    class Picture;

    [[nodiscard]] Picture look() const;
    [[nodiscard]] std::vector<Area> buttons() const;
    [[nodiscard]] std::vector<Area> notifications() const;
    [[nodiscard]] bool waitFor(std::size_t count, const std::function<std::vector<Area>()>& areas) const;
    [[nodiscard]] bool click(int x, int y) const;
    void startDisplay();
    void writeSettings() const;

    const TemporaryFolder folder_;
    std::map<std::string, std::string> environment_;
    std::unique_ptr<BackgroundProgram> display_;
    std::unique_ptr<PrivateBus> bus_;
};

}  // namespace quendokit::testing
