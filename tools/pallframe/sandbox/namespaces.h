#pragma once

#include <functional>
#include <string>

// Namespaces that separate a frame from the host: processes, network and mounts, in a user
// namespace if the kernel requires one (namespaces(7), user_namespaces(7)).
namespace pallframe::sandbox {

// Moves this process to a new network namespace, and its future children to a new process namespace
// in which the first one is process 1. An ordinary user becomes root of a user namespace. Throws
// std::runtime_error with instructions when the kernel forbids that.
void unshareNamespaces();

// Moves this process to a new mount namespace, from which no mount reaches the host. Throws like
// unshareNamespaces, because some kernels refuse only here.
void unshareMounts();

// Instructions for a user to whom the kernel refuses namespaces: the switch that forbids them, with
// the command that sets it, otherwise to become root. `error` is the errno of the refusal;
// `readValue` returns the first word of a file, empty without that file. One line, no line end.
std::string describeNamespaceError(int error,
                                   const std::function<std::string(const char* file)>& readValue);

// Enables 127.0.0.1 in the network of this process. Throws std::system_error.
void enableLoopback();

}  // namespace pallframe::sandbox
