// Lines go to the log's socket without waiting, or with up to 100 ms of waiting in each second, and
// are kept in order, up to 64 KiB, while the log is behind. A line that finds no room is counted,
// and a line with the count takes its place in the order.
//
// A send that fails is tried once more on a new connection: the log may have been restarted, with
// a datagram or a stream socket.

#include "util/system_log.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <limits>
#include <new>
#include <utility>

namespace util {

namespace {

constexpr std::chrono::milliseconds kMaxWaitPerSecond{100};
constexpr std::size_t kMaxKeptBytes = std::size_t{64} << 10;

// "N log lines were lost", without asking for memory.
class LostText {
  public:
    explicit LostText(std::size_t lost)
        : size_(std::snprintf(bytes_.data(), bytes_.size(), "%zu log lines were lost\n", lost)) {}
    std::string_view text() const { return {bytes_.data(), static_cast<std::size_t>(size_)}; }

  private:
    std::array<char, 64> bytes_{};
    int size_;
};

}  // namespace

SystemLog::SystemLog(std::string path)
    : path_(std::move(path)),
      ident_(program_invocation_short_name),
      facility_(LOG_USER),
      type_(SOCK_DGRAM) {}

SystemLog::~SystemLog() {
    disconnect();
}

void SystemLog::setSource(std::string ident, int facility) {
    const std::lock_guard lock(mutex_);
    ident_ = std::move(ident);
    facility_ = facility;
}

void SystemLog::write(int priority, std::string_view text) {
    const std::lock_guard lock(mutex_);
    const LogLineHeader header = makeHeader(priority);
    Outcome outcome = sendKept();
    if (outcome == Outcome::sent) {
        outcome = reportLost();
    }
    if (outcome == Outcome::sent) {
        outcome = sendLine(header.text(), text);
    }
    const bool kept = outcome == Outcome::later && keep(header.text(), text);
    lost_ += outcome == Outcome::sent || kept ? 0 : 1;
}

void SystemLog::countLost() {
    const std::lock_guard lock(mutex_);
    ++lost_;
}

void SystemLog::flush() {
    const std::lock_guard lock(mutex_);
    if (sendKept() == Outcome::sent) {
        reportLost();
    }
}

// The calendar is asked once a second: it takes longer than all the rest of a line.
LogLineHeader SystemLog::makeHeader(int priority) {
    if (const std::time_t now = std::time(nullptr); now != time_.moment()) {
        time_ = now;
    }
    const bool namesFacility = (priority & LOG_FACMASK) != 0;
    return {namesFacility ? priority : priority | facility_, time_, ident_};
}

// A log that is gone may come back for what was kept when it was there.
SystemLog::Outcome SystemLog::sendKept() {
    while (!kept_.empty()) {
        const Outcome outcome = sendLine(kept_.front(), {});
        if (outcome == Outcome::later || (outcome == Outcome::never && errno != EMSGSIZE)) {
            return Outcome::later;
        }
        lost_ += outcome == Outcome::sent ? 0 : 1;
        keptBytes_ -= kept_.front().size();
        kept_.pop_front();
    }
    return Outcome::sent;
}

SystemLog::Outcome SystemLog::reportLost() {
    if (lost_ == 0) {
        return Outcome::sent;
    }
    const Outcome outcome = sendLine(makeHeader(LOG_WARNING).text(), LostText(lost_).text());
    lost_ = outcome == Outcome::sent ? 0 : lost_;
    return outcome;
}

// False when there is no room or no memory for it. After a lost line nothing is kept, so that one
// line reports all of them.
bool SystemLog::keep(std::string_view header, std::string_view text) try {
    const bool lostBehindKept = lost_ > 0 && !kept_.empty();
    if (lostBehindKept || keptBytes_ + header.size() + text.size() > kMaxKeptBytes) {
        return false;
    }
    if (lost_ > 0) {
        keepRecord(makeHeader(LOG_WARNING).text(), LostText(lost_).text());
        lost_ = 0;
    }
    keepRecord(header, text);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

void SystemLog::keepRecord(std::string_view header, std::string_view text) {
    kept_.push_back(std::string(header).append(text));
    keptBytes_ += kept_.back().size();
}

SystemLog::Outcome SystemLog::sendLine(std::string_view header, std::string_view text) {
    if (sendInTime(header, text)) {
        return Outcome::sent;
    }
    // The log may have been restarted, with either kind of socket.
    disconnect();
    connect();
    if (sendInTime(header, text)) {
        return Outcome::sent;
    }
    const int reason = errno;
    disconnect();
    errno = reason;
    return reason == EAGAIN ? Outcome::later : Outcome::never;
}

bool SystemLog::sendInTime(std::string_view header, std::string_view text) {
    if (socket_ < 0) {
        return false;
    }
    bool sent = sendRecord(header, text);
    while (!sent && errno == EAGAIN && waitForRoom()) {
        sent = sendRecord(header, text);
    }
    blocked_ = blocked_ && !sent;
    return sent;
}

bool SystemLog::waitForRoom() {
    const auto begin = std::chrono::steady_clock::now();
    if (begin - secondBegan_ >= std::chrono::seconds(1)) {
        secondBegan_ = begin;
        waited_ = {};
    }
    if (blocked_ || waited_ >= kMaxWaitPerSecond) {
        return false;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(kMaxWaitPerSecond - waited_);
    pollfd log = {socket_, POLLOUT, 0};
    blocked_ = poll(&log, 1, static_cast<int>(left.count())) == 0;
    waited_ += std::chrono::steady_clock::now() - begin;
    return !blocked_;
}

// On a stream a zero byte ends each line. A partial line spoils the connection.
bool SystemLog::sendRecord(std::string_view header, std::string_view text) const {
    const auto part = [](std::string_view bytes) {
        return iovec{const_cast<char*>(bytes.data()), bytes.size()};
    };
    constexpr std::string_view kEnd("\0", 1);
    std::array<iovec, 3> parts = {part(header), part(text), part(kEnd)};
    const bool ended = type_ == SOCK_STREAM;
    msghdr message = {};
    message.msg_iov = parts.data();
    message.msg_iovlen = ended ? 3 : 2;
    const std::size_t size = header.size() + text.size() + (ended ? 1 : 0);
    errno = 0;  // also after a part of the line
    const ssize_t sent = sendmsg(socket_, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
    return sent >= 0 && static_cast<std::size_t>(sent) == size;
}

void SystemLog::connect() {
    if (!connectAs(type_) && errno == EPROTOTYPE) {
        type_ = type_ == SOCK_DGRAM ? SOCK_STREAM : SOCK_DGRAM;
        connectAs(type_);
    }
}

void SystemLog::disconnect() {
    if (socket_ >= 0) {
        close(socket_);
        socket_ = -1;
    }
}

bool SystemLog::connectAs(int type) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    socket_ = socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket_ < 0) {
        return false;
    }
    if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        return true;
    }
    const int reason = errno;
    disconnect();
    errno = reason;
    return false;
}

LogTime::LogTime(std::time_t moment) : moment_(moment) {
    std::tm local = {};
    if (localtime_r(&moment, &local) != nullptr) {
        std::strftime(bytes_.data(), bytes_.size(), "%h %e %T ", &local);
    }
}

LogLineHeader::LogLineHeader(int priority, const LogTime& time, std::string_view ident) {
    std::array<char, std::numeric_limits<int>::digits10 + 2> digits;
    const char* const end = std::to_chars(digits.begin(), digits.end(), priority).ptr;
    for (const std::string_view part :
         {std::string_view("<"), std::string_view(digits.data(), end), std::string_view(">"),
          time.text(), ident, std::string_view(": ")}) {
        size_ += part.copy(bytes_.data() + size_, bytes_.size() - size_);
    }
}

}  // namespace util
