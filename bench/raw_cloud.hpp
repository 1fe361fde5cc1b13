#pragma once
/// \file
/// What a plain program does to bring reminders from a record server and there: the yardstick of the cloud's
/// benchmarks.

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include <curl/curl.h>
#include <nlohmann/json.hpp>

#include "bench/raw_store.hpp"

namespace quendokit::bench {

/// Where the records are. Plain value.
struct RawAccount {
    /// Up to the operation, as "http://127.0.0.1:8420/database/1/iCloud.net.example/production/private/".
    std::string base;
    std::string apiToken;
    std::string webToken;
};

/// One connection that stays open, one JSON library, one transaction a page. Fatal errors abort.
class RawCloud {
public:
    explicit RawCloud(RawAccount account);
    RawCloud(const RawCloud&) = delete;
    RawCloud& operator=(const RawCloud&) = delete;
    ~RawCloud();

    /// Makes the zone of the reminders, if it is not there.
    void makeZone();
    /// Everything in the zone into `store`; answers how many records came.
    std::size_t download(RawStore& store);
    /// What is unsent in `store`, 200 records at a time, each confirmed in a transaction of its own.
    std::size_t upload(RawStore& store);

    /// For the next request.
    [[nodiscard]] const std::string& webToken() const noexcept { return account_.webToken; }

private:
    nlohmann::json ask(const std::string& operation, const nlohmann::json& body);
    static std::size_t keepBody(char* data, std::size_t size, std::size_t count, void* body);
    static std::size_t readHeader(char* data, std::size_t size, std::size_t count, void* cloud);

    RawAccount account_;
    CURL* curl_;
};

}  // namespace quendokit::bench
