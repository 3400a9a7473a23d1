#pragma once

// Namespaces that separate a frame from the host: processes, network and mounts, in a user
// namespace if the kernel requires one (namespaces(7), user_namespaces(7)).
namespace pallframe {

// Moves this process to a new network namespace, and its future children to a new process namespace
// in which the first one is process 1. An ordinary user becomes root of a user namespace. Throws
// std::runtime_error with instructions when the kernel forbids that.
void unshareNamespaces();

// Moves this process to a new mount namespace, from which no mount reaches the host. Throws like
// unshareNamespaces, because some kernels refuse only here.
void unshareMounts();

// Enables 127.0.0.1 in the network of this process. Throws std::system_error.
void enableLoopback();

}  // namespace pallframe
