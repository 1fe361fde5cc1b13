#include "apps/quendo/terminal.hpp"

#include <cstdlib>
#include <string_view>
#include <unistd.h>

#include <fmt/color.h>
#include <sys/ioctl.h>

namespace quendo {
namespace {

std::string_view environmentValue(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

bool wantsColour() {
    const std::string_view terminal = environmentValue("TERM");
    return environmentValue("NO_COLOR").empty() && !terminal.empty() && terminal != "dumb";
}

fmt::text_style codesOf(Emphasis emphasis) {
    switch (emphasis) {
        case Emphasis::none:
            return {};
        case Emphasis::heading:
            return fmt::emphasis::bold;
        case Emphasis::faint:
            return fmt::emphasis::faint;
        case Emphasis::good:
            return fmt::fg(fmt::terminal_color::green);
        case Emphasis::bad:
            return fmt::emphasis::bold | fmt::fg(fmt::terminal_color::red);
    }
    return {};
}

}  // namespace

std::string Style::marked(Emphasis emphasis, const std::string& text) const {
    // No codes around nothing: they would be bytes that nobody sees.
    if (!colour || text.empty() || emphasis == Emphasis::none) {
        return text;
    }
    return fmt::format(codesOf(emphasis), "{}", text);
}

Style styleOf(int descriptor) {
    if (isatty(descriptor) == 0) {
        return {};
    }
    winsize size{};
    const bool known = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return {wantsColour(), known ? size.ws_col : usualColumns};
}

Style standardOutputStyle() {
    return styleOf(STDOUT_FILENO);
}

}  // namespace quendo
