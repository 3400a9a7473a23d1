#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

// The far end of a measured program's connection, and the program itself: listens, starts the
// program, accepts its connection, and takes both away again.
class Peer {
  public:
    // How the kernel acknowledges what the program sends: at once, or only after its delay of some
    // 40 ms unless there is something to send along (tcp(7), TCP_QUICKACK).
    enum class Acknowledge { promptly, late };

    // Listens on the loopback at `port`, 0 for any.
    explicit Peer(uint16_t port);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    uint16_t port() const;
    // Runs `command` on the given processor and waits for it to connect.
    void start(const std::vector<std::string>& command, int processor);

    void acknowledge(Acknowledge how) { acknowledge_ = how; }
    void send(const std::string& bytes) const;
    // Waits for bytes and gives what is there; ends the benchmark when the program has gone.
    std::string receive() const;

    pid_t program() const { return program_; }
    // Processor time the program has used since its start, in nanoseconds.
    int64_t processorTime() const;

  private:
    int listener_ = -1;
    int socket_ = -1;
    pid_t program_ = 0;
    Acknowledge acknowledge_ = Acknowledge::promptly;
};
