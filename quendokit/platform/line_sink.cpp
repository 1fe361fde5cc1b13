#include "quendokit/platform/line_sink.hpp"

#include <cstdio>
#include <string>

namespace quendokit {
namespace {

class StandardOutputSink final : public LineSink {
public:
    void writeLine(std::string_view line) override {
        // One call a line, so that lines of several threads do not mix.
        std::string text(line);
        text += '\n';
        std::fwrite(text.data(), 1, text.size(), stdout);
        std::fflush(stdout);
    }
};

}  // namespace

std::shared_ptr<LineSink> makeStandardOutputSink() {
    return std::make_shared<StandardOutputSink>();
}

}  // namespace quendokit
