#include "bench/raw_cloud.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <strings.h>
#include <utility>

namespace quendokit::bench {
namespace {

using nlohmann::json;

constexpr std::size_t recordsPerRequest = 200;

json zoneID() {
    return {{"zoneName", "Reminder Zone"}};
}

void check(bool good, const std::string& what) {
    if (!good) {
        std::fprintf(stderr, "raw cloud: %s\n", what.c_str());
        std::abort();
    }
}

json recordOf(const RawRecord& record) {
    return {{"recordName", record.id},
            {"recordType", "Reminder"},
            {"fields",
             {{"title", {{"value", record.title}, {"type", "STRING"}}},
              {"shown", {{"value", record.shown ? 1 : 0}, {"type", "INT64"}}},
              {"internal_device", {{"value", record.device}, {"type", "INT64"}}},
              {"internal_date",
               {{"value", static_cast<std::int64_t>(std::floor(record.date * 1'000))}, {"type", "TIMESTAMP"}}}}}};
}

RawRecord recordIn(const json& record) {
    const json& fields = record.at("fields");
    const auto date = static_cast<double>(fields.at("internal_date").at("value").get<std::int64_t>()) / 1'000;
    const auto device = fields.at("internal_device").at("value").get<std::int64_t>();
    return {record.at("recordName").get<std::string>(),
            fields.at("title").at("value").get<std::string>(),
            false,
            fields.at("shown").at("value").get<int>() != 0,
            date,
            false,
            device,
            date};
}

}  // namespace

RawCloud::RawCloud(RawAccount account) : account_(std::move(account)), curl_(curl_easy_init()) {
    curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, &RawCloud::keepBody);
    curl_easy_setopt(curl_, CURLOPT_HEADERFUNCTION, &RawCloud::readHeader);
    curl_easy_setopt(curl_, CURLOPT_HEADERDATA, this);
}

RawCloud::~RawCloud() {
    curl_easy_cleanup(curl_);
}

void RawCloud::makeZone() {
    ask("zones/modify",
        {{"operations", json::array({{{"operationType", "create"}, {"zone", {{"zoneID", zoneID()}}}}})}});
}

std::size_t RawCloud::download(RawStore& store) {
    std::size_t count = 0;
    json zone = {{"zoneID", zoneID()}, {"resultsLimit", recordsPerRequest}};
    for (bool moreComing = true; moreComing;) {
        const json answer = ask("changes/zone", {{"zones", json::array({zone})}});
        const json& page = answer.at("zones").at(0);
        std::vector<RawRecord> records;
        for (const json& record : page.at("records")) {
            records.push_back(recordIn(record));
        }
        if (!records.empty()) {
            store.storeAll(records);
        }
        count += records.size();
        zone["syncToken"] = page.at("syncToken");
        moreComing = page.at("moreComing");
    }
    return count;
}

std::size_t RawCloud::upload(RawStore& store) {
    const auto unsent = store.unsent(false);
    for (std::size_t begin = 0; begin < unsent.size(); begin += recordsPerRequest) {
        json operations = json::array();
        std::vector<std::string> ids;
        for (std::size_t i = begin; i < std::min(unsent.size(), begin + recordsPerRequest); ++i) {
            operations.push_back({{"operationType", "forceUpdate"}, {"record", recordOf(unsent[i])}});
            ids.push_back(unsent[i].id);
        }
        const json answer =
            ask("records/modify", {{"zoneID", zoneID()}, {"atomic", true}, {"operations", std::move(operations)}});
        check(answer.at("records").size() == ids.size(), "an upload was not answered whole");
        store.confirm(ids);
    }
    return unsent.size();
}

json RawCloud::ask(const std::string& operation, const json& body) {
    char* const token = curl_easy_escape(curl_, account_.webToken.c_str(), static_cast<int>(account_.webToken.size()));
    const std::string url = account_.base + operation + "?ckAPIToken=" + account_.apiToken + "&ckWebAuthToken=" + token;
    curl_free(token);
    const std::string sent = body.dump();
    std::string received;
    curl_easy_setopt(curl_, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl_, CURLOPT_POSTFIELDS, sent.c_str());
    curl_easy_setopt(curl_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(sent.size()));
    curl_easy_setopt(curl_, CURLOPT_WRITEDATA, &received);
    check(curl_easy_perform(curl_) == CURLE_OK, operation + " was not answered");
    long status = 0;
    curl_easy_getinfo(curl_, CURLINFO_RESPONSE_CODE, &status);
    check(status == 200, operation + " was refused: " + received);
    return json::parse(received);
}

std::size_t RawCloud::keepBody(char* data, std::size_t size, std::size_t count, void* body) {
    static_cast<std::string*>(body)->append(data, size * count);
    return size * count;
}

std::size_t RawCloud::readHeader(char* data, std::size_t size, std::size_t count, void* cloud) {
    constexpr std::string_view name = "X-Apple-CloudKit-Web-Auth-Token: ";
    const std::string_view line(data, size * count);
    if (line.size() > name.size() && strncasecmp(line.data(), name.data(), name.size()) == 0) {
        static_cast<RawCloud*>(cloud)->account_.webToken = line.substr(name.size(), line.find('\r') - name.size());
    }
    return size * count;
}

}  // namespace quendokit::bench
