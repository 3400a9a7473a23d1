#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <asio/io_service.hpp>

#include "bus/netstring_stream_parser.h"
#include "bus/tarn_internal_message.h"
#include "bus/tcp_client_impl_asio.h"

namespace lumo {

enum class ConnectionState { disconnected = 0, connected = 1 };

// A module's connection to the local message bus: logs in and subscribes on every connection, sends
// a heartbeat, answers the bus's own questions (is the module ready, the redundancy master state)
// and hands every message on.
//
// Belongs to the owner and lives on the thread that runs the I/O service, where all callbacks are
// called. send(), sendUnstamped(), gather() and flush() are for any thread; setModuleReady() and
// subscribe() too, as long as the loop does not use what they change at that moment. Sends that
// fail are forgotten, a message of more than 20,000,000 bytes after a log line. Exceptions are
// those of the transport.
class AsyncTarnInternalClient {
  public:
    using Batch = TCPClientImplAsio::Batch;
    using OnMessage = std::function<void(TarnInternalMessage&&)>;
    using OnConnectionState = std::function<void(ConnectionState, const std::string& reason)>;
    using OnMasterState = std::function<std::error_code(bool standby)>;

    // connID is the number that the bus knows this module by.
    AsyncTarnInternalClient(asio::io_service& io, std::string host, std::int32_t port,
                            std::string name, std::int32_t connID);

    // Called with every received message. One that cannot be decoded is dropped.
    void setOnMessage(OnMessage call) { onMessage_ = std::move(call); }
    // Called with `connected` on every new connection, after login and subscriptions were sent, and
    // with `disconnected` by disconnect() only: a connection that is lost is not reported.
    void setOnConnectionState(OnConnectionState call) { onConnectionState_ = std::move(call); }
    // Called with the master state that the bus sends; an error refuses it. Without it the bus gets
    // no answer.
    void setOnMasterState(OnMasterState call) { onMasterState_ = std::move(call); }
    // Whether each subscription asks for everything below its path. Before connecting.
    void setReceiveAll(bool receiveAll) { receiveAll_ = receiveAll; }
    void setHeartbeatPeriod(std::chrono::milliseconds period) { heartbeatPeriod_ = period; }
    std::chrono::milliseconds heartbeatPeriod() const { return heartbeatPeriod_; }

    // Begins to connect, and to connect again whenever the connection is lost.
    void connectToTarnInternal();
    // Closes the connection, without a further attempt.
    void disconnect();

    // Subscribes to an object path, now and on every later connection. A known path is left alone.
    void subscribe(const std::string& path);
    // Forgets the path for later connections; nothing is sent.
    void unsubscribe(const std::string& path);
    // Announces, the first time that it is called, that the module is ready.
    void setModuleReady();

    // Sends the message as one from this module. Throws std::bad_alloc when there is no memory for
    // it, or was none for a part of it.
    void send(TarnInternalMessage&& message);
    // Sends the message as it is.
    void sendUnstamped(const TarnInternalMessage& message);
    // Messages that this thread sends until the result is destroyed are written together.
    Batch gather() { return transport_.gather(); }
    // Starts writing what was gathered, as before an external command.
    void flush() { transport_.flush(); }
    // The number of bytes that this thread has gathered so far.
    std::size_t gathered() const { return transport_.gathered(); }

    // From here on no message is handed on and nothing more is read; heartbeats, writes and
    // reconnects go on. Messages that came in the same chunk are kept in their order, also when
    // their connection is lost. The loop's thread, also from a callback.
    void pause();
    // Hands on what was kept, as one batch, until the next pause(); then reading continues.
    void resume();

    bool standby() const { return standby_; }
    ConnectionState connectionState() const { return connectionState_; }
    // The connection below, for its timer periods.
    TCPClientImplAsio& transport() { return transport_; }

  private:
    using Payload = std::unique_ptr<std::vector<char>>;

    void handleConnect();
    void handOnKept();
    void handlePayload(Payload payload);
    void handleMessage(TarnInternalMessage&& message);
    void handleSystemMessage(const TarnInternalMessage& message);
    void handleModuleReadyQuery(const TarnInternalMessage& request);
    void handleSystemKelMasterStateRspMsg(const TarnInternalMessage& message);
    void sendSubscriptions(const std::vector<std::string>& paths);
    void setConnectionState(ConnectionState state, const std::string& reason);
    util::UniqueJSON readiness() const;

    const std::string name_;
    const std::int32_t connID_;
    std::vector<std::string> subscriptions_;  // in the order of subscribing, no path twice
    bool receiveAll_ = false;
    TCPClientImplAsio transport_;
    ConnectionState connectionState_ = ConnectionState::disconnected;
    NetStringStreamParser parser_;
    bool paused_ = false;
    bool handingOn_ = false;
    std::list<Payload> kept_;  // received while paused: no more than one chunk completes
    std::chrono::milliseconds heartbeatPeriod_{5000};
    bool moduleReady_ = false;
    bool standby_ = true;
    OnMessage onMessage_;
    OnConnectionState onConnectionState_;
    OnMasterState onMasterState_;
};

}  // namespace lumo
