// What a round trip costs when nothing is done with the message: connects to the given port and
// answers every REQUEST bytes with a write of the text REPLY, with epoll and nothing else. The
// measure that the daemon's own round trips are put beside. `--gather` writes the replies to one
// read at once, `--log` and `--save` add the log lines and the saved file of a set request,
// `--ticks` the wake-ups of an idle daemon.

#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "set_work.h"

namespace {

constexpr size_t kReadSize = 8192;
constexpr int kTickMilliseconds = 1000;
constexpr int kTicksPerHeartbeat = 5;
// As long as the daemon's.
constexpr size_t kHeartbeatSize = 51;

bool has(const std::vector<std::string>& options, const char* option) {
    return std::find(options.begin(), options.end(), option) != options.end();
}

class Echo {
  public:
    Echo(int socket, size_t requestSize, std::string reply, const std::vector<std::string>& options)
        : socket_(socket),
          requestSize_(requestSize),
          reply_(std::move(reply)),
          gathers_(has(options, "--gather")),
          timeout_(has(options, "--ticks") ? kTickMilliseconds : -1),
          work_(options) {}

    // Until the other end closes the connection.
    void run() {
        const int poll = epoll_create1(EPOLL_CLOEXEC);
        epoll_event event = {};
        event.events = EPOLLIN;
        epoll_ctl(poll, EPOLL_CTL_ADD, socket_, &event);
        for (int ready = 0; ready == 0 || answerRequests();) {
            ready = epoll_wait(poll, &event, 1, timeout_);
            if (ready == 0 && ++tick_ % kTicksPerHeartbeat == 0) {
                send(reply_.substr(0, kHeartbeatSize));
            }
        }
    }

  private:
    bool answerRequests() {
        char buffer[kReadSize];
        const ssize_t count = read(socket_, buffer, sizeof buffer);
        if (count <= 0) {
            return false;
        }
        std::string gathered;
        for (received_ += static_cast<size_t>(count); received_ >= requestSize_;) {
            received_ -= requestSize_;
            work_.work();
            if (gathers_) {
                gathered += reply_;
            } else {
                send(reply_);
            }
        }
        send(gathered);
        return true;
    }

    void send(const std::string& bytes) const {
        if (!bytes.empty() && write(socket_, bytes.data(), bytes.size()) < 0) {
            std::exit(EXIT_FAILURE);
        }
    }

    int socket_;
    size_t requestSize_;
    std::string reply_;
    bool gathers_;
    int timeout_;
    SetWork work_;
    size_t received_ = 0;
    int tick_ = 0;
};

}  // namespace

int main(int argc, char* argv[]) {
    if (argc < 4) {
        return 2;
    }
    Echo(connectTo(static_cast<uint16_t>(std::strtoul(argv[1], nullptr, 10))),
         std::strtoul(argv[2], nullptr, 10), argv[3], {argv + 4, argv + argc})
        .run();
}
