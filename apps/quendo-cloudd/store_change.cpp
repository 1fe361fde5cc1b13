#include <utility>

#include "apps/quendo-cloudd/call.hpp"

namespace cloudd {
namespace {

Reply<ScopeRow> scopeForWriting(Call& call) {
    auto row = call.store.scope(call.scope);
    if (!row) {
        return row.error();
    }
    if (row.value().id != 0) {
        return std::move(row).value();
    }
    auto count = call.store.scopeCount();
    if (!count) {
        return count.error();
    }
    if (count.value() >= mostScopes) {
        return WireError{ErrorCode::quotaExceeded, "there are too many containers"};
    }
    row = call.store.obtainScope(call.scope);
    if (!row) {
        return row.error();
    }
    return std::move(row).value();
}

Reply<StoreChange> workOn(Call& call, const std::function<Reply<StoreChange>(ScopeRow&)>& work) {
    Transaction transaction(call.store.connection());
    if (auto failure = transaction.begin()) {
        return *failure;
    }
    auto scope = scopeForWriting(call);
    if (!scope) {
        return scope.error();
    }
    auto change = work(scope.value());
    if (!change || !change.value().isKept) {
        return change;
    }
    if (auto failure = transaction.commit()) {
        return *failure;
    }
    return change;
}

}  // namespace

Reply<nlohmann::json> changeStore(Call& call, const std::function<Reply<StoreChange>(ScopeRow&)>& work) {
    auto change = workOn(call, work);
    if (!change) {
        call.announcements.clear();
        return change.error();
    }
    return std::move(change).value().answer;
}

}  // namespace cloudd
