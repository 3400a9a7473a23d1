#include "pallframe/sandbox/syslog_file.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <array>

namespace pallframe::sandbox {

using simulation::check;

SyslogFile::SyslogFile(const std::string& socketPath, const std::string& filePath)
    : socket_(check(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket")),
      file_(check(::open(filePath.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644),
                  filePath)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath.copy(address.sun_path, sizeof(address.sun_path) - 1);
    check(::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)),
          socketPath);
    check(::chmod(socketPath.c_str(), 0666), socketPath);
}

void SyslogFile::takeAll() const {
    std::array<char, 65536> buffer{};
    ssize_t size = 0;
    while ((size = ::recv(socket_.get(), buffer.data(), buffer.size(), 0)) >= 0) {
        std::string line(buffer.data(), static_cast<size_t>(size));
        line.erase(line.find_last_not_of(std::string("\n\0", 2)) + 1);
        std::replace(line.begin(), line.end(), '\n', ' ');
        line += '\n';
        // A full disk loses log lines, nothing else.
        [[maybe_unused]] const auto written = ::write(file_.get(), line.data(), line.size());
    }
}

}  // namespace pallframe::sandbox
