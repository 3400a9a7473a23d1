#include "set_work.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "programs.h"

int connectTo(uint16_t port) {
    const int connection = checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
    sockaddr_in address = loopback(port);
    checked(connect(connection, general(address), sizeof address), "connect");
    // These programs must not wait for acknowledgements either.
    const int on = 1;
    checked(setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on), "TCP_NODELAY");
    return connection;
}

LogLines::LogLines(const std::string& file) {
    openlog("Pallwatch", LOG_NDELAY, LOG_LOCAL2);
    std::ifstream lines(file);
    int priority = 0;
    for (std::string text; lines >> priority && std::getline(lines.ignore(), text);) {
        lines_.emplace_back(priority, text);
    }
    if (lines_.empty()) {
        giveUp("no log lines in " + file);
    }
}

void LogLines::send() const {
    for (const auto& [priority, text] : lines_) {
        syslog(priority, "%s", text.c_str());
    }
}

void SavedFile::save(const std::string& content) const {
    const std::string next = file_ + ".new";
    const std::string previous = file_ + ".old";
    const int file =
        checked(open(next.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644), "open");
    checked(static_cast<int>(write(file, content.data(), content.size())), "write");
    checked(fsync(file), "fsync");
    close(file);
    std::rename(file_.c_str(), previous.c_str());  // the first save has none
    checked(std::rename(next.c_str(), file_.c_str()), "rename");
    const std::string name = file_.substr(0, file_.rfind('/') + 1);
    const int directory = checked(open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), "open");
    checked(fsync(directory), "fsync");
    close(directory);
    std::remove(previous.c_str());
}

SetWork::SetWork(const std::vector<std::string>& options) {
    for (size_t i = 0; i + 1 < options.size(); ++i) {
        if (options[i] == "--log") {
            log_.emplace_back(options[i + 1]);
        }
        if (options[i] == "--save" && i + 2 < options.size()) {
            saved_.emplace_back(options[i + 1]);
            content_.assign(std::stoul(options[i + 2]), 's');
        }
    }
}

void SetWork::work() const {
    for (const LogLines& log : log_) {
        log.send();
    }
    for (const SavedFile& saved : saved_) {
        saved.save(content_);
    }
}
