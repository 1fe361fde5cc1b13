#pragma once
/// \file
/// `mapSome`, a transform that may leave elements out.

#include <type_traits>
#include <utility>
#include <vector>

namespace quendokit {

/// The results of `transform`, which answers an optional, for the elements in their order; absent ones are left out.
template <typename T, typename Transform>
[[nodiscard]] auto mapSome(const std::vector<T>& array, Transform&& transform) {
    std::vector<typename std::invoke_result_t<Transform&, const T&>::value_type> results;
    for (const T& element : array) {
        if (auto result = transform(element)) {
            results.push_back(*std::move(result));
        }
    }
    return results;
}

}  // namespace quendokit
