#pragma once

#include <chrono>
#include <cstdint>
#include <string>

// A client of the bus as bytes see it: its frames are cut here, without the bus library. Used by
// one thread at a time.
class BusPeer {
  public:
    // Connected and, with an id, logged in and answered.
    explicit BusPeer(uint16_t port, int connectionID = 0);
    ~BusPeer();
    BusPeer(const BusPeer&) = delete;
    BusPeer& operator=(const BusPeer&) = delete;

    // False when a connection is refused.
    static bool canConnect(uint16_t port);

    // False when the bus has closed the connection.
    bool sendBytes(const std::string& bytes);
    // False as well when the bus does not take the bytes in for that time.
    bool sendBytes(const std::string& bytes, std::chrono::milliseconds time);
    bool send(const std::string& payload);
    // Subscribes, and waits for the answer.
    void subscribe(const std::string& path, bool receiveAll = false);

    // The next payload; empty when none comes in time or the bus has closed the connection.
    std::string receive(std::chrono::milliseconds time = std::chrono::seconds(30));
    // So many bytes as they come; less when no more come in time.
    std::string receiveBytes(size_t count);
    // How many segments with data came so far (tcp(7), TCP_INFO).
    unsigned segments() const;
    // Whether a heartbeat is answered next: then nothing else was on its way, and everything sent
    // before has been dealt with.
    bool isQuiet();
    // Reads until the bus closes the connection; false when it does not within a while.
    bool isClosed();
    void vanish();

  private:
    bool readMore(std::chrono::milliseconds time);
    std::string takeFrame();

    int socket_;
    int connectionID_;
    std::string received_;
};

// "<length>:<payload>;"
std::string framed(const std::string& payload);
