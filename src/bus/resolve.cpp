#include "bus/resolve.h"

#include <netdb.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <system_error>

#include <asio/error.hpp>

namespace lumo {

namespace {

using AddressList = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

std::error_code translateError(int error) {
    switch (error) {
        case EAI_AGAIN:
            return asio::error::host_not_found_try_again;
        case EAI_BADFLAGS:
            return asio::error::invalid_argument;
        case EAI_FAIL:
            return asio::error::no_recovery;
        case EAI_FAMILY:
            return asio::error::address_family_not_supported;
        case EAI_MEMORY:
            return asio::error::no_memory;
        case EAI_NONAME:
#ifdef EAI_NODATA
        case EAI_NODATA:
        case EAI_ADDRFAMILY:
#endif
            return asio::error::host_not_found;
        case EAI_SERVICE:
            return asio::error::service_not_found;
        case EAI_SOCKTYPE:
            return asio::error::socket_type_not_supported;
        default:
            return {errno, asio::error::get_system_category()};
    }
}

AddressList findAddresses(const std::string& host, std::int32_t port) {
    char service[sizeof "-2147483648"];
    std::snprintf(service, sizeof service, "%d", port);
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_protocol = IPPROTO_TCP;
    addrinfo* found = nullptr;
    const int error = getaddrinfo(host.empty() ? nullptr : host.c_str(), service, &hints, &found);
    if (error != 0) {
        throw std::system_error(translateError(error), "resolve");
    }
    return {found, &freeaddrinfo};
}

}  // namespace

std::vector<asio::ip::tcp::endpoint> resolve(const std::string& host, std::int32_t port) {
    const AddressList found = findAddresses(host, port);
    std::vector<asio::ip::tcp::endpoint> endpoints;
    for (const addrinfo* entry = found.get(); entry != nullptr; entry = entry->ai_next) {
        if (entry->ai_family == AF_INET || entry->ai_family == AF_INET6) {
            asio::ip::tcp::endpoint& endpoint = endpoints.emplace_back();
            endpoint.resize(entry->ai_addrlen);
            std::memcpy(endpoint.data(), entry->ai_addr, entry->ai_addrlen);
        }
    }
    return endpoints;
}

}  // namespace lumo
