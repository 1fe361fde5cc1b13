#pragma once
/// \file
/// `PropertyTable`, where the settings stand in memory.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quendokit/platform/property_value.hpp"

namespace quendokit::files {

/// A hash table made for one thing: finding one of a dozen long keys that begin alike, at half of what the standard
/// library's takes (it divides, and hashes every letter). One thread at a time.
class PropertyTable {
public:
    /// Null when there is none. Valid until the table is changed.
    [[nodiscard]] const PropertyValue* find(std::string_view key) const {
        const std::uint64_t hash = hashOf(key);
        for (const Entry& entry : buckets_[hash & (buckets_.size() - 1)]) {
            if (entry.has(key, hash)) {
                return &entry.value;
            }
        }
        return nullptr;
    }

    void assign(std::string_view key, PropertyValue value) {
        const std::uint64_t hash = hashOf(key);
        for (Entry& entry : bucketOf(hash)) {
            if (entry.has(key, hash)) {
                entry.value = std::move(value);
                return;
            }
        }
        if (count_ == buckets_.size()) {
            grow();
        }
        bucketOf(hash).push_back({hash, std::string(key), std::move(value)});
        ++count_;
    }

    void erase(std::string_view key) {
        const std::uint64_t hash = hashOf(key);
        count_ -= std::erase_if(bucketOf(hash), [&](const Entry& entry) { return entry.has(key, hash); });
    }

private:
    struct Entry {
        std::uint64_t hash;
        std::string key;
        PropertyValue value;

        [[nodiscard]] bool has(std::string_view otherKey, std::uint64_t otherHash) const {
            return hash == otherHash && key == otherKey;
        }
    };
    using Bucket = std::vector<Entry>;

    /// Of the length and the last sixteen letters: they tell keys apart that begin alike.
    static std::uint64_t hashOf(std::string_view key) {
        constexpr std::uint64_t scatter = 0x9E37'79B9'7F4A'7C15;
        std::uint64_t hash = key.size() * scatter;
        if (key.size() >= 16) {
            std::uint64_t words[2];
            std::memcpy(words, key.data() + key.size() - sizeof(words), sizeof(words));
            hash = (hash ^ words[0]) * scatter;
            hash = (hash ^ hash >> 32U ^ words[1]) * scatter;
        } else {
            for (const char letter : key) {
                hash = (hash ^ static_cast<unsigned char>(letter)) * scatter;
            }
        }
        return hash ^ hash >> 32U;
    }

    /// There is a power of two of them.
    [[nodiscard]] Bucket& bucketOf(std::uint64_t hash) { return buckets_[hash & (buckets_.size() - 1)]; }

    void grow() {
        std::vector<Bucket> old(2 * buckets_.size());
        old.swap(buckets_);
        for (Bucket& bucket : old) {
            for (Entry& entry : bucket) {
                bucketOf(entry.hash).push_back(std::move(entry));
            }
        }
    }

    std::vector<Bucket> buckets_ = std::vector<Bucket>(32);
    std::size_t count_ = 0;
};

}  // namespace quendokit::files
