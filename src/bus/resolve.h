#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <asio/ip/tcp.hpp>

namespace lumo {

// The TCP addresses of a host, a name or a dotted address, with this port, in the order of
// getaddrinfo(3). Throws std::system_error "resolve", with the errors of asio's resolver, most of
// whose code is for asynchronous calls. Any thread; waits for name servers.
std::vector<asio::ip::tcp::endpoint> resolve(const std::string& host, std::int32_t port);

}  // namespace lumo
