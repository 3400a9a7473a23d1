#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <asio/io_service.hpp>
#include <asio/ip/tcp.hpp>

// One connection that a scripted peer accepted. Collects what comes and says what a test tells it.
class PeerSession : public std::enable_shared_from_this<PeerSession> {
  public:
    explicit PeerSession(asio::ip::tcp::socket socket) : socket_(std::move(socket)) {}

    // All bytes that came so far.
    const std::string& received() const { return received_; }
    // The payloads of the complete frames among them; what is no frame fails the test.
    std::vector<std::string> payloads() const;
    // The other side ended the connection.
    bool ended() const { return ended_; }

    // Writes the bytes, waiting for room.
    void send(const std::string& bytes);
    void sendFrame(const std::string& payload);
    void pauseReading() { paused_ = true; }
    void resumeReading();
    // Ends the connection with a FIN, or with a RST.
    void close();
    void reset();

    // Waits for the next bytes without the loop and reads them: for what must have left by now.
    std::string takeNow();

  private:
    friend class ScriptedPeer;
    void waitForBytes();
    void readBytes();

    asio::ip::tcp::socket socket_;
    std::string received_;
    bool ended_ = false;
    bool paused_ = false;
};

// The other end of the line: a listener on the loopback that runs on the loop of the test. Reads
// and writes with read() and write(), so that the client's own send() and recv() can be counted.
class ScriptedPeer {
  public:
    // Listens on a free port.
    explicit ScriptedPeer(asio::io_service& io);
    // Ends all connections.
    ~ScriptedPeer();
    ScriptedPeer(const ScriptedPeer&) = delete;
    ScriptedPeer& operator=(const ScriptedPeer&) = delete;

    std::int32_t port() const { return port_; }
    // Nobody listens any more; connections stay, and nobody else gets the port.
    void stopListening();
    // Listens again, on the same port.
    void listen();
    // Connections accepted from now on are not read from until told so.
    void acceptPaused() { acceptPaused_ = true; }

    std::size_t connections() const { return sessions_.size(); }
    PeerSession& session(std::size_t index) { return *sessions_.at(index); }
    PeerSession& last() { return *sessions_.back(); }

  private:
    void bind();
    void accept();

    asio::ip::tcp::acceptor acceptor_;
    std::int32_t port_ = 0;
    bool acceptPaused_ = false;
    std::vector<std::shared_ptr<PeerSession>> sessions_;
};
