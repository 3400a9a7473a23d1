#include "syslog_receiver.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>

namespace harness {

namespace {

using pallframe::simulation::check;
using pallframe::simulation::Descriptor;

constexpr char kSocket[] = "/dev/log";
constexpr size_t kTimeLength = sizeof("Jan  1 00:00:00 ") - 1;

// No program's line: those begin with '<'.
constexpr std::string_view kMark = "mark";

template <int (*call)(int, const sockaddr*, socklen_t)>
Descriptor openLog(int flags) {
    Descriptor socket(check(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | flags, 0), "socket"));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::copy(std::begin(kSocket), std::end(kSocket), address.sun_path);
    check(call(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)),
          kSocket);
    return socket;
}

// A busy machine must not make lines come later than what was sent after them. An ordinary user's
// frame has the usual dozen lines all the same.
Descriptor openDeepLog() {
    setLogQueue(512);
    return openLog<::bind>(SOCK_NONBLOCK);
}

}  // namespace

void setLogQueue(int lines) {
    std::ofstream("/proc/sys/net/unix/max_dgram_qlen") << lines;
}

void PrintTo(const LogLine& line, std::ostream* out) {
    *out << "<" << line.facility << "+" << line.priority << "> " << line.ident << ": " << line.text;
}

LogLine parseLogLine(std::string_view datagram) {
    LogLine line;
    const size_t close = datagram.find('>');
    int code = 0;
    if (datagram.substr(0, 1) != "<" || close == std::string_view::npos ||
        std::from_chars(datagram.data() + 1, datagram.data() + close, code).ec != std::errc()) {
        line.text = datagram;
        return line;
    }
    line.priority = LOG_PRI(code);
    line.facility = code & LOG_FACMASK;
    std::string_view rest = datagram.substr(std::min(close + 1 + kTimeLength, datagram.size()));
    const size_t colon = rest.find(": ");
    if (colon != std::string_view::npos) {
        line.ident = rest.substr(0, std::min(rest.find('['), colon));
        rest.remove_prefix(colon + 2);
    }
    line.text = rest;
    return line;
}

SyslogReceiver::SyslogReceiver()
    : socket_(openDeepLog()),
      stop_(check(::eventfd(0, EFD_CLOEXEC), "eventfd")),
      thread_([this] { receive(); }) {}

SyslogReceiver::~SyslogReceiver() {
    ::eventfd_write(stop_.get(), 1);
    thread_.join();
    ::unlink(kSocket);
}

void SyslogReceiver::receive() {
    std::array<char, 65536> buffer{};
    std::array<pollfd, 2> ready{{{socket_.get(), POLLIN, 0}, {stop_.get(), POLLIN, 0}}};
    while (::poll(ready.data(), ready.size(), -1) > 0 && ready[1].revents == 0) {
        const ssize_t size = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
        if (size > 0) {
            take({buffer.data(), static_cast<size_t>(size)});
        }
    }
}

void SyslogReceiver::take(std::string_view datagram) {
    const std::lock_guard lock(mutex_);
    if (datagram == kMark) {
        ++marks_;
    } else {
        lines_.push_back(parseLogLine(datagram));
    }
    changed_.notify_all();
}

std::vector<LogLine> SyslogReceiver::linesUntilNow() {
    std::unique_lock lock(mutex_);
    const size_t next = marks_ + 1;
    const Descriptor sender = openLog<::connect>(0);
    lock.unlock();
    check(::send(sender.get(), kMark.data(), kMark.size(), 0), kSocket);
    lock.lock();
    if (!changed_.wait_until(lock, Deadline().end(), [&] { return marks_ >= next; })) {
        throw TimedOut("system log: a mark does not come through");
    }
    return lines_;
}

std::vector<LogLine> SyslogReceiver::lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
}

LogLine SyslogReceiver::waitFor(const std::string& text, const Deadline& deadline) {
    std::unique_lock lock(mutex_);
    size_t found = passed_;
    const auto matches = [&text](const LogLine& line) {
        return line.text.find(text) != std::string::npos;
    };
    const auto look = [&] {
        const auto begin = lines_.begin() + static_cast<ptrdiff_t>(passed_);
        found = static_cast<size_t>(std::find_if(begin, lines_.end(), matches) - lines_.begin());
        return found < lines_.size();
    };
    if (!changed_.wait_until(lock, deadline.end(), look)) {
        std::string all;
        for (const LogLine& line : lines_) {
            all += "<" + std::to_string(line.priority) + "> " + line.text +
                   (line.text.ends_with('\n') ? "" : "\n");
        }
        throw TimedOut("system log: waited in vain for '" + text + "'; there was:\n" + all);
    }
    passed_ = found + 1;
    return lines_[found];
}

}  // namespace harness
