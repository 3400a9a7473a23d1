#include "bus/resolve.h"

#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <asio/io_service.hpp>
#include <gtest/gtest.h>

namespace lumo {

namespace {

using asio::ip::tcp;

TEST(Resolve, GivesDottedAddressesWithThePort) {
    const auto loopback = tcp::endpoint(asio::ip::make_address("127.0.0.1"), 15000);
    EXPECT_EQ(resolve("127.0.0.1", 15000), std::vector{loopback});
    const auto sixth = tcp::endpoint(asio::ip::make_address("2001:db8::1"), 65535);
    EXPECT_EQ(resolve("2001:db8::1", 65535), std::vector{sixth});
}

// What a resolver finds, or the error that it throws.
template <typename Resolver>
std::pair<std::vector<tcp::endpoint>, std::string> run(Resolver resolver) {
    try {
        return {resolver(), ""};
    } catch (const std::system_error& error) {
        return {{}, error.what()};
    }
}

TEST(Resolve, FindsAndFailsAsAsiosResolverDoes) {
    for (const std::string host : {"localhost", "127.1", "", "999.1.1.1", "two words", "::1%lo"}) {
        const auto expected = run([&] {
            asio::io_service io;
            std::vector<tcp::endpoint> endpoints;
            for (const auto& entry : tcp::resolver(io).resolve(host, "15000")) {
                endpoints.push_back(entry.endpoint());
            }
            return endpoints;
        });
        EXPECT_EQ(run([&] { return resolve(host, 15000); }), expected) << host;
    }
}

TEST(Resolve, NamesItsStepInTheError) {
    const auto [endpoints, error] = run([] { return resolve("two words", 15000); });
    EXPECT_EQ(endpoints, std::vector<tcp::endpoint>());
    EXPECT_EQ(error.substr(0, 9), "resolve: ");
}

}  // namespace

}  // namespace lumo
