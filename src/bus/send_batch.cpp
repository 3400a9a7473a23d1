#include "bus/send_batch.h"

#include <iterator>
#include <new>
#include <utility>

#include "bus/tcp_client_impl_asio.h"
#include "bus/tcp_connection.h"
#include "bus/write_queue.h"

namespace lumo {

namespace {

thread_local SendBatch* innermost = nullptr;

}  // namespace

SendBatch::SendBatch(TCPClientImplAsio& client, std::shared_ptr<TcpConnection> login)
    : client_(client), outer_(innermost), login_(std::move(login)) {
    innermost = this;
}

SendBatch::~SendBatch() {
    try {
        if (find(client_) == this) {
            client_.flush();
        }
    } catch (const std::bad_alloc&) {
        // The queued strings leave with the next write.
    }
    innermost = outer_;
}

SendBatch* SendBatch::find(const TCPClientImplAsio& client) {
    SendBatch* found = nullptr;
    for (SendBatch* batch = innermost; batch != nullptr; batch = batch->outer_) {
        if (&batch->client_ != &client) {
            continue;
        }
        found = batch;
        if (batch->login_) {
            break;
        }
    }
    return found;
}

std::error_code SendBatch::send(const std::shared_ptr<TcpConnection>& connection,
                                std::span<std::string> parts) {
    if (connection == login_) {
        return connection->sendLogin(parts);
    }
    keep(connection, parts);
    return {};
}

void SendBatch::keep(const std::shared_ptr<TcpConnection>& connection,
                     std::span<std::string> parts) {
    if (connection != connection_) {
        messages_.clear();
        bytes_ = 0;
        connection_ = connection;
    }
    messages_.emplace_back(std::make_move_iterator(parts.begin()),
                           std::make_move_iterator(parts.end()));
    bytes_ += totalSize(messages_.back());
    if (bytes_ > kMaxBytes) {
        handOver();
    }
}

void SendBatch::handOver() {
    std::vector<std::vector<std::string>> messages = std::exchange(messages_, {});
    bytes_ = 0;
    if (!messages.empty()) {
        connection_->sendAll(messages);
    }
}

}  // namespace lumo
