#include "apps/quendo-cloudd/connection_watch.hpp"

#include <sys/socket.h>

namespace cloudd {

ConnectionWatch::Entry* ConnectionWatch::add(int socket, Time now) {
    const std::lock_guard lock(mutex_);
    entries_.push_back({socket, Phase::header, now, 0});
    return &entries_.back();
}

void ConnectionWatch::remove(Entry* entry) {
    const std::lock_guard lock(mutex_);
    entries_.remove_if([&](const Entry& each) { return &each == entry; });
}

void ConnectionWatch::enter(Entry* entry, Phase phase, Time now) {
    const std::lock_guard lock(mutex_);
    entry->phase = phase;
    entry->since = now;
    entry->bodyBytes = 0;
}

void ConnectionWatch::noteBody(Entry* entry, std::size_t bytes) {
    const std::lock_guard lock(mutex_);
    entry->bodyBytes += bytes;
}

void ConnectionWatch::shutLate(Time now) {
    const std::lock_guard lock(mutex_);
    for (Entry& entry : entries_) {
        if (isLate(entry, now)) {
            // Closed only by its owner, so that the number cannot be another connection's meanwhile.
            shutdown(entry.socket, SHUT_RDWR);
            entry.phase = Phase::working;
        }
    }
}

std::size_t ConnectionWatch::count() {
    const std::lock_guard lock(mutex_);
    return entries_.size();
}

bool ConnectionWatch::isLate(const Entry& entry, Time now) const {
    const auto taken = now - entry.since;
    switch (entry.phase) {
        case Phase::header:
            return taken > patience_.header;
        case Phase::body: {
            const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(taken).count();
            return taken > patience_.body ||
                   (seconds >= 2 && entry.bodyBytes < patience_.bodyRate * static_cast<std::size_t>(seconds - 1));
        }
        case Phase::working:
            return false;
        case Phase::answer:
            return taken > patience_.answer;
        case Phase::idle:
            return taken > patience_.idle;
    }
    return false;
}

}  // namespace cloudd
