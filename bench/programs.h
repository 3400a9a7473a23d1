#pragma once

#include <netinet/in.h>
#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

// What the benchmarks of whole processes have in common. All of it ends the benchmark, with a word
// on why, when the machine refuses.

[[noreturn]] void giveUp(const std::string& what);
int checked(int result, const char* what);

// A port of 127.0.0.1, and an address as the socket interface wants it.
sockaddr_in loopback(uint16_t port);
sockaddr* general(sockaddr_in& address);

// Binds the calling process to one processor.
void runOn(int processor);
// Runs `command` on the given processor; its output goes to the descriptor, -1 for nowhere.
pid_t startProgram(const std::vector<std::string>& command, int processor, int output);
// Asks it to end and waits until it has.
void endProgram(pid_t program);
// Processor time it has used since its start, in nanoseconds.
int64_t processorTimeOf(pid_t program);
