#include "quendokit/platform/ck_operation.hpp"

#include <algorithm>

namespace quendokit {

bool CKDatabaseOperation::isReady() const {
    return std::all_of(dependencies_.begin(), dependencies_.end(),
                       [](const auto& dependency) { return dependency->isFinished(); });
}

}  // namespace quendokit
