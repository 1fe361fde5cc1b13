#pragma once
/// \file
/// Exchanges between a client and a service, as they stand in the files of `tests/wire`.

#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace quendokit::testing {

/// One request and its answer. Plain value.
struct RecordedExchange {
    /// A sentence.
    std::string name;
    std::string method;
    /// As "records/modify".
    std::string operation;
    /// Null for a GET.
    nlohmann::json request;
    int status = 200;
    nlohmann::json answer;
    /// What a client makes of the answer; null when none of ours asks so.
    nlohmann::json heard;
    /// Some of what services answer, our server does not; some of what it is asked, our client does not ask.
    bool isForClient = false;
    bool isForServer = false;

    friend void PrintTo(const RecordedExchange& exchange, std::ostream* stream) { *stream << exchange.name; }
};

/// Those of one file, as "zones.json": a story in that order, in which each text that a service makes up stands for
/// the same thing wherever it comes again.
inline std::vector<RecordedExchange> recordedExchanges(const std::string& file) {
    const std::filesystem::path path = std::filesystem::path(QUENDOKIT_WIRE_FOLDER) / file;
    std::ifstream stream(path);
    const auto list = nlohmann::json::parse(stream, nullptr, false);
    EXPECT_TRUE(list.is_array()) << path;
    std::vector<RecordedExchange> exchanges;
    for (const auto& each : list.is_array() ? list : nlohmann::json::array()) {
        const auto against = each.at("against").get<std::string>();
        exchanges.push_back({.name = each.at("name"),
                             .method = each.at("method"),
                             .operation = each.at("operation"),
                             .request = each.value("request", nlohmann::json()),
                             .status = each.at("status"),
                             .answer = each.at("answer"),
                             .heard = each.value("heard", nlohmann::json()),
                             .isForClient = against != "server",
                             .isForServer = against != "client"});
    }
    return exchanges;
}

}  // namespace quendokit::testing
