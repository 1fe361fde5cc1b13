#pragma once
/// \file
/// The words of the person's language that titles are made of.

#include <string>

#include "quendokit/platform/export.hpp"

namespace quendokit::words {

/// Each is looked up in `Bundle::QuendoKit()` once per process, on first use; the English word when it is not
/// translated. Any thread.
[[nodiscard]] QUENDOKIT_EXPORT const std::string& minutes();
[[nodiscard]] QUENDOKIT_EXPORT const std::string& hour();
[[nodiscard]] QUENDOKIT_EXPORT const std::string& hours();
[[nodiscard]] QUENDOKIT_EXPORT const std::string& morning();
[[nodiscard]] QUENDOKIT_EXPORT const std::string& afternoon();
[[nodiscard]] QUENDOKIT_EXPORT const std::string& evening();
/// Also the name of the preset.
[[nodiscard]] QUENDOKIT_EXPORT const std::string& later();

}  // namespace quendokit::words
