#include "apps/quendo-cloudd/courier.hpp"

#include <algorithm>
#include <utility>

namespace cloudd {

void Courier::add(std::int64_t listener, const std::string& subscription, std::string notification) {
    std::deque<Notification>& queue = queues_[listener];
    const auto same = std::find_if(queue.begin(), queue.end(),
                                   [&](const Notification& each) { return each.subscription == subscription; });
    if (same != queue.end()) {
        same->text = std::move(notification);
    } else {
        queue.push_back({subscription, std::move(notification)});
    }
    if (queue.size() > mostWaiting) {
        queue.pop_front();
    }
    woken_.insert(listener);
}

std::optional<std::string> Courier::take(std::int64_t listener) {
    const auto queue = queues_.find(listener);
    if (queue == queues_.end()) {
        return std::nullopt;
    }
    std::string text = std::move(queue->second.front().text);
    queue->second.pop_front();
    if (queue->second.empty()) {
        queues_.erase(queue);
    }
    return text;
}

void Courier::keepOnly(const std::set<std::int64_t>& listeners) {
    std::erase_if(queues_, [&](const auto& entry) { return !listeners.contains(entry.first); });
}

std::set<std::int64_t> Courier::takeWoken() {
    return std::exchange(woken_, {});
}

}  // namespace cloudd
