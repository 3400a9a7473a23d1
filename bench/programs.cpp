#include "programs.h"

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>

void giveUp(const std::string& what) {
    std::cerr << program_invocation_short_name << ": " << what << ": " << std::strerror(errno)
              << "\n";
    std::exit(EXIT_FAILURE);
}

int checked(int result, const char* what) {
    if (result < 0) {
        giveUp(what);
    }
    return result;
}

sockaddr_in loopback(uint16_t port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

sockaddr* general(sockaddr_in& address) {
    return reinterpret_cast<sockaddr*>(&address);
}

void runOn(int processor) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<size_t>(processor), &set);
    checked(sched_setaffinity(0, sizeof set, &set), "sched_setaffinity");
}

pid_t startProgram(const std::vector<std::string>& command, int processor, int output) {
    const pid_t program = checked(fork(), "fork");
    if (program != 0) {
        return program;
    }
    runOn(processor);
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    dup2(output >= 0 ? output : open("/dev/null", O_WRONLY), STDOUT_FILENO);
    execv(arguments[0], arguments.data());
    _exit(127);
}

void endProgram(pid_t program) {
    kill(program, SIGTERM);
    waitpid(program, nullptr, 0);
}

int64_t processorTimeOf(pid_t program) {
    clockid_t clock = 0;
    timespec time = {};
    if (clock_getcpuclockid(program, &clock) != 0 || clock_gettime(clock, &time) != 0) {
        giveUp("processor time");
    }
    return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}
