#include "tests/support/desktop_session.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <unistd.h>
#include <utility>

#include "tests/support/program.hpp"

namespace quendokit::testing {
namespace {

constexpr int screenWidth = 800;
constexpr int screenHeight = 600;

const std::string notifyDaemon = "xfce4/notifyd/xfce4-notifyd";
const std::string settingsDaemon = "xfce4/xfconf/xfconfd";

/// Colours that nothing else on the screen has.
using Colour = std::array<unsigned char, 3>;
constexpr Colour buttonColour{250, 1, 130};
constexpr Colour notificationColour{1, 2, 90};

/// A button and a notification stand apart from the next one by more than this, and letters leave smaller holes.
constexpr int smallestGap = 4;
/// What is smaller is a rest of something.
constexpr int smallestSide = 12;

const char* const theme = R"(
#XfceNotifyWindow { background-color: rgb(1,2,90); background-image: none; border: none; border-radius: 0; padding: 10px; }
#XfceNotifyWindow button { background-color: rgb(250,1,130); background-image: none; border: none; border-radius: 0;
                           padding: 8px; margin: 4px; box-shadow: none; text-shadow: none; transition: none; }
#XfceNotifyWindow label { color: rgb(255,255,255); }
)";

const char* const settings = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-notifyd" version="1.0">
  <property name="theme" type="string" value="Painted"/>
  <property name="notify-location" type="uint" value="0"/>
  <property name="initial-opacity" type="double" value="1.0"/>
  <property name="do-fadeout" type="bool" value="false"/>
  <property name="do-slideout" type="bool" value="false"/>
</channel>
)";

[[noreturn]] void throwMissing(const std::string& program, const std::string& package) {
    throw std::runtime_error(program + " is missing: install the package " + package +
                             ", or run scripts/setup --tests");
}

void demand(const std::string& program, const std::string& package) {
    if (runProgram({"sh", "-c", "command -v \"$1\"", "sh", program}).code != 0) {
        throwMissing(program, package);
    }
}

/// Where a program lies that is in no PATH: below the libraries of this machine's kind.
std::string demandedService(const std::string& program, const std::string& package) {
    for (const auto& folder : std::filesystem::directory_iterator("/usr/lib")) {
        const std::string path = (folder.path() / program).string();
        if (access(path.c_str(), X_OK) == 0) {
            return path;
        }
    }
    throwMissing(program, package);
}

}  // namespace

/// What was on the screen at one moment: three bytes a point, line by line.
class DesktopSession::Picture {
public:
    explicit Picture(std::string points) : points_(std::move(points)) {
        if (points_.size() != std::size_t{3} * screenWidth * screenHeight) {
            throw std::runtime_error("there is no picture of the screen");
        }
    }

    /// The areas of a colour, in lines from the top, in each from the left.
    [[nodiscard]] std::vector<Area> areasOf(const Colour& colour) const {
        std::vector<Area> found;
        for (const auto& [top, bottom] :
             runs(screenHeight, [&](int y) { return holds(colour, 0, screenWidth, y, y + 1); })) {
            const auto isColumn = [&, top = top, bottom = bottom](int x) {
                return holds(colour, x, x + 1, top, bottom);
            };
            for (const auto& [left, right] : runs(screenWidth, isColumn)) {
                if (right - left >= smallestSide && bottom - top >= smallestSide) {
                    found.push_back({left, top, right, bottom});
                }
            }
        }
        return found;
    }

private:
    [[nodiscard]] bool holds(const Colour& colour, int left, int right, int top, int bottom) const {
        for (int y = top; y < bottom; ++y) {
            for (int x = left; x < right; ++x) {
                const auto* point = points_.data() + std::size_t{3} * static_cast<std::size_t>(y * screenWidth + x);
                if (std::equal(colour.begin(), colour.end(), point,
                               [](unsigned char a, char b) { return a == static_cast<unsigned char>(b); })) {
                    return true;
                }
            }
        }
        return false;
    }

    /// The stretches below `size` in which `isInside` holds, small gaps filled.
    template <typename Predicate>
    static std::vector<std::pair<int, int>> runs(int size, Predicate isInside) {
        std::vector<std::pair<int, int>> found;
        for (int i = 0; i < size; ++i) {
            if (!isInside(i)) {
                continue;
            }
            if (!found.empty() && i - found.back().second < smallestGap) {
                found.back().second = i + 1;
            } else {
                found.emplace_back(i, i + 1);
            }
        }
        return found;
    }

    const std::string points_;
};

DesktopSession::DesktopSession() {
    demand("Xvfb", "xvfb");
    demand("import", "imagemagick");
    demand("xdotool", "xdotool");
    demand("dbus-daemon", "dbus");
    const std::string notifyPath = demandedService(notifyDaemon, "xfce4-notifyd");
    const std::string settingsPath = demandedService(settingsDaemon, "xfconf");
    const std::string home = folder_.path().string();
    environment_ = {{"HOME", home},
                    {"XDG_CONFIG_HOME", home + "/config"},
                    {"XDG_DATA_HOME", home + "/data"},
                    {"XDG_CACHE_HOME", home + "/cache"},
                    {"XDG_STATE_HOME", home + "/state"},
                    {"XDG_RUNTIME_DIR", home},
                    {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + home + "/no-system-bus"},
                    {"GDK_BACKEND", "x11"},
                    {"NO_AT_BRIDGE", "1"},
                    {"LC_ALL", "C.UTF-8"}};
    writeSettings();
    startDisplay();
    bus_ =
        std::make_unique<PrivateBus>(std::vector<PrivateBus::Activatable>{{"org.freedesktop.Notifications", notifyPath},
                                                                          {"org.xfce.Xfconf", settingsPath}},
                                     environment_);
    environment_["DBUS_SESSION_BUS_ADDRESS"] = bus_->address();
}

void DesktopSession::writeSettings() const {
    const auto write = [](const std::filesystem::path& file, const char* text) {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    };
    // The theme where one is sought below the home folder, and where one is sought below the data folder.
    write(folder_.path() / ".themes/Painted/xfce-notify-4.0/gtk.css", theme);
    write(folder_.path() / "data/themes/Painted/xfce-notify-4.0/gtk.css", theme);
    write(folder_.path() / "config/xfce4/xfconf/xfce-perchannel-xml/xfce4-notifyd.xml", settings);
}

void DesktopSession::startDisplay() {
    int ready[2];
    if (pipe(ready) != 0) {
        throw std::runtime_error("no pipe");
    }
    const std::string size = std::to_string(screenWidth) + "x" + std::to_string(screenHeight) + "x24";
    // It takes a number that is free, and says which when it is ready.
    display_ =
        std::make_unique<BackgroundProgram>(std::vector<std::string>{"Xvfb", "-displayfd", std::to_string(ready[1]),
                                                                     "-screen", "0", size, "-nolisten", "tcp"},
                                            environment_, (folder_.path() / "display.log").string(), ready[1]);
    close(ready[1]);
    std::string number;
    char c = 0;
    while (read(ready[0], &c, 1) == 1 && c != '\n') {
        number += c;
    }
    close(ready[0]);
    if (number.empty()) {
        throw std::runtime_error("Xvfb does not start");
    }
    environment_["DISPLAY"] = ":" + number;
}

DesktopSession::Picture DesktopSession::look() const {
    return Picture(runProgram({"import", "-silent", "-window", "root", "-depth", "8", "rgb:-"}, environment_).output);
}

std::vector<DesktopSession::Area> DesktopSession::buttons() const {
    return look().areasOf(buttonColour);
}

std::vector<DesktopSession::Area> DesktopSession::notifications() const {
    return look().areasOf(notificationColour);
}

bool DesktopSession::waitFor(std::size_t count, const std::function<std::vector<Area>()>& areas) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    for (auto before = areas(); std::chrono::steady_clock::now() < deadline;) {
        // A screen announces nothing that could be waited for.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        auto now = areas();
        if (now.size() == count && now == before) {
            return true;
        }
        before = std::move(now);
    }
    return false;
}

bool DesktopSession::waitForButtons(std::size_t count) const {
    return waitFor(count, [this] { return buttons(); });
}

bool DesktopSession::waitForNotifications(std::size_t count) const {
    return waitFor(count, [this] { return notifications(); });
}

bool DesktopSession::click(int x, int y) const {
    // The desktop hears first that the pointer has come.
    return runProgram({"xdotool", "mousemove", std::to_string(x), std::to_string(y)}, environment_).code == 0 &&
           runProgram({"xdotool", "click", "1"}, environment_).code == 0;
}

bool DesktopSession::clickButton(std::size_t index) const {
    const auto found = buttons();
    if (index >= found.size()) {
        return false;
    }
    const Area& area = found[index];
    return click((area.left + area.right) / 2, (area.top + area.bottom) / 2);
}

bool DesktopSession::dismissNotification(std::size_t index) const {
    const auto found = notifications();
    // Its padding, where nothing else lies.
    return index < found.size() && click(found[index].left + 3, found[index].top + 3);
}

void DesktopSession::takeScreenshot(const std::string& file) const {
    static_cast<void>(runProgram({"import", "-silent", "-window", "root", file}, environment_));
}

}  // namespace quendokit::testing
