/// \file
/// How long a client waits for a small answer while a thousand others are parked in long polls and fifty send a byte a
/// second; beside the same without them. Prints the median, the 99th percentile and the longest, in milliseconds.

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>
#include <sys/resource.h>

#include "bench/raw_cloud.hpp"
#include "tests/apps/cloudd/raw_client.hpp"
#include "tests/support/cloudd_process.hpp"

namespace {

using cloudd::testing::RawClient;
using quendokit::testing::ClouddProcess;
using Clock = std::chrono::steady_clock;

constexpr const char* container = "iCloud.net.example.bench";
constexpr int rounds = 5;
constexpr int requestsPerRound = 200;
constexpr std::size_t parkedClients = 1'000;
constexpr std::size_t pollsPerDevice = 16;
constexpr std::size_t slowClients = 50;

/// Loopback addresses enough for the limit of each.
std::uint32_t addressOf(std::size_t number) {
    return static_cast<std::uint32_t>(0x7F010001 + number / 50);
}

std::string encoded(const std::string& text) {
    static constexpr std::array<char, 17> digits{"0123456789ABCDEF"};
    std::string result;
    for (const char each : text) {
        const auto byte = static_cast<unsigned char>(each);
        if (std::isalnum(byte) != 0) {
            result += each;
        } else {
            result += {'%', digits[byte / 16], digits[byte % 16]};
        }
    }
    return result;
}

std::string post(const std::string& path, const ClouddProcess::Tokens& tokens, const std::string& body) {
    return "POST " + path + "?ckAPIToken=" + tokens.api + "&ckWebAuthToken=" + encoded(tokens.web) +
           " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

/// Where to poll, for a new device of a new user's and as many polls as it may have.
std::vector<std::string> pollsOf(const ClouddProcess& server, std::uint16_t port, std::size_t number) {
    ClouddProcess::Tokens tokens = server.addUser("user" + std::to_string(number));
    std::vector<std::string> targets;
    RawClient client(port, addressOf(number * pollsPerDevice));
    const auto ask = [&](const std::string& operation, const nlohmann::json& body) {
        client.send(
            post("/device/1/" + std::string(container) + "/production/tokens/" + operation, tokens, body.dump()));
        auto answer = client.receive();
        if (answer.status != 200) {
            std::fprintf(stderr, "%s was refused: %s\n", operation.c_str(), answer.body.c_str());
            std::exit(1);
        }
        tokens.web = RawClient::headerOf(answer, "X-Apple-CloudKit-Web-Auth-Token");
        return answer.body;
    };
    for (std::size_t i = 0; i < pollsPerDevice; ++i) {
        const auto made = nlohmann::json::parse(ask("create", {{"apnsEnvironment", "production"}}));
        ask("register", {{"apnsEnvironment", "production"}, {"apnsToken", made.at("apnsToken")}});
        const auto url = made.at("webcourierURL").get<std::string>();
        targets.push_back(url.substr(url.find('/', url.find("//") + 2)));
    }
    return targets;
}

/// Asks for what is new in an empty zone, on one connection. Milliseconds.
std::vector<double> measure(std::uint16_t port, ClouddProcess::Tokens& tokens) {
    const std::string path = "/database/1/" + std::string(container) + "/production/private/changes/zone";
    std::vector<double> times;
    RawClient client(port, 0x7F00FF01);
    for (int i = 0; i < requestsPerRound; ++i) {
        const std::string request = post(path, tokens, R"({"zones":[{"zoneID":{"zoneName":"Reminder Zone"}}]})");
        const auto start = Clock::now();
        client.send(request);
        const auto answer = client.receive();
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        if (answer.status == 429) {
            // So many requests a second and user are allowed.
            times.pop_back();
            --i;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        } else if (answer.status != 200) {
            std::fprintf(stderr, "refused: %s\n", answer.body.c_str());
            std::exit(1);
        }
        if (const auto next = RawClient::headerOf(answer, "X-Apple-CloudKit-Web-Auth-Token"); !next.empty()) {
            tokens.web = next;
        }
    }
    return times;
}

void print(const char* what, std::vector<double> times) {
    std::sort(times.begin(), times.end());
    std::printf("%-28s %9.2f %9.2f %9.2f\n", what, times[times.size() / 2], times[times.size() * 99 / 100],
                times.back());
}

}  // namespace

int main() {
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = std::min<rlim_t>(files.rlim_max, 8'192);
    setrlimit(RLIMIT_NOFILE, &files);

    const ClouddProcess server(QUENDO_CLOUDD_PROGRAM);
    const auto port = static_cast<std::uint16_t>(std::stoi(server.url().substr(server.url().rfind(':') + 1)));
    ClouddProcess::Tokens tokens = server.addUser("ann");
    quendokit::bench::RawCloud cloud(
        {server.url() + "/database/1/" + container + "/production/private/", tokens.api, tokens.web});
    cloud.makeZone();
    tokens.web = cloud.webToken();
    std::vector<std::string> targets;
    for (std::size_t i = 0; targets.size() < parkedClients; ++i) {
        for (std::string& target : pollsOf(server, port, i)) {
            targets.push_back(std::move(target));
        }
    }
    targets.resize(parkedClients);

    std::vector<double> alone;
    std::vector<double> crowded;
    for (int round = 0; round < rounds; ++round) {
        auto times = measure(port, tokens);
        alone.insert(alone.end(), times.begin(), times.end());

        std::vector<RawClient> parked;
        for (std::size_t i = 0; i < targets.size(); ++i) {
            parked.emplace_back(port, addressOf(i));
            parked.back().send(cloudd::testing::getRequest(targets[i]));
        }
        std::atomic<bool> isOver = false;
        std::thread slow([&] {
            std::vector<RawClient> clients;
            for (std::size_t i = 0; i < slowClients; ++i) {
                clients.emplace_back(port, 0x7F020001);
            }
            while (!isOver) {
                for (RawClient& client : clients) {
                    client.send("G");
                }
                std::this_thread::sleep_for(std::chrono::seconds(1));
            }
        });
        times = measure(port, tokens);
        crowded.insert(crowded.end(), times.begin(), times.end());
        isOver = true;
        slow.join();
    }
    std::printf("%-28s %9s %9s %9s\n", "answers, in ms", "median", "p99", "longest");
    print("alone", alone);
    print("a thousand parked, 50 slow", crowded);
    return 0;
}
