#include "adapters/gettext/gettext_bundle_provider.hpp"

#include <libintl.h>
#include <system_error>
#include <utility>

namespace quendokit {
namespace {

constexpr const char* textDomain = "quendokit";
/// Holds nothing, ever. The C library would take an empty folder for the one in which the process is.
constexpr const char* noFolder = "/dev/null";

class GettextBundle final : public Bundle {
public:
    explicit GettextBundle(const std::filesystem::path& localeFolder) {
        std::error_code failed;
        const std::filesystem::path folder = std::filesystem::absolute(localeFolder, failed);
        ::bindtextdomain(textDomain, failed ? noFolder : folder.c_str());
        ::bind_textdomain_codeset(textDomain, "UTF-8");
    }

    [[nodiscard]] std::string localizedString(std::string_view key, std::string_view /*comment*/) const override {
        std::string text(key);
        // The translation of "" is the catalogue's header, and a key ends at its first zero byte.
        if (!text.empty() && text.find('\0') == std::string::npos) {
            text = ::dgettext(textDomain, text.c_str());
        }
        return text;
    }
};

}  // namespace

GettextBundleProvider::GettextBundleProvider(std::string identifier, const std::filesystem::path& localeFolder)
    : identifier_(std::move(identifier)), bundle_(std::make_shared<GettextBundle>(localeFolder)) {}

std::shared_ptr<const Bundle> GettextBundleProvider::bundle(std::string_view identifier) const {
    return identifier == identifier_ ? bundle_ : nullptr;
}

}  // namespace quendokit
