#include "quendokit/platform/line_sink.hpp"

#include <cstdio>
#include <string>

namespace quendokit {
namespace {

class StreamSink final : public LineSink {
public:
    explicit StreamSink(std::FILE* stream) : stream_(stream) {}

    void writeLine(std::string_view line) override {
        // One call a line, so that lines of several threads do not mix.
        std::string text(line);
        text += '\n';
        std::fwrite(text.data(), 1, text.size(), stream_);
        std::fflush(stream_);
    }

private:
    std::FILE* const stream_;
};

}  // namespace

std::shared_ptr<LineSink> makeStandardOutputSink() {
    return std::make_shared<StreamSink>(stdout);
}

std::shared_ptr<LineSink> makeStandardErrorSink() {
    return std::make_shared<StreamSink>(stderr);
}

}  // namespace quendokit
