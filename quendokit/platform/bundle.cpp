#include "quendokit/platform/bundle.hpp"

#include <utility>

#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/world_internal.hpp"

namespace quendokit {
namespace {

std::shared_ptr<std::shared_ptr<const Bundle>> find() {
    const platform::Services& services = platform::services();
    const std::string& identifier = services.FrameworkBundleIdentifier;
    auto bundle = services.bundleProvider ? services.bundleProvider->bundle(identifier) : nullptr;
    if (!bundle) {
        fatalError("no bundle has the identifier \"" + identifier +
                   "\": set Services::bundleProvider and FrameworkBundleIdentifier so that one has");
    }
    return std::make_shared<std::shared_ptr<const Bundle>>(std::move(bundle));
}

const platform::OncePerProcess<std::shared_ptr<const Bundle>> found;

}  // namespace

const Bundle& Bundle::QuendoKit() {
    return *found.get(find);
}

}  // namespace quendokit
