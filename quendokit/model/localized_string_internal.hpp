#pragma once
/// \file
/// `LocalizedString`, a text of the engine in the person's language.

#include <memory>
#include <string>
#include <string_view>

#include "quendokit/platform/bundle.hpp"
#include "quendokit/platform/world_internal.hpp"

namespace quendokit {

/// Looked up in `Bundle::QuendoKit()` once per process, on first use, and never refreshed. Made as a static object.
class LocalizedString {
public:
    /// `key` is the English text, `comment` what translators are told; both are literals.
    LocalizedString(std::string_view key, std::string_view comment) : key_(key), comment_(comment) {}

    /// The translation, or the key when there is none. Any thread.
    [[nodiscard]] const std::string& get() const {
        return text_.get(
            [this] { return std::make_shared<std::string>(Bundle::QuendoKit().localizedString(key_, comment_)); });
    }

private:
    const std::string_view key_;
    const std::string_view comment_;
    const platform::OncePerProcess<std::string> text_;
};

}  // namespace quendokit
