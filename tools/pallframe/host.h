#pragma once

// The way out of the host: a process space and a network of one's own, in a user namespace when the
// kernel asks for one (namespaces(7), user_namespaces(7)).
namespace pallframe {

// Gives this process a network of its own, and its future children a process space of their own in
// which the first one is process 1. An ordinary user becomes root of a user namespace. Throws
// std::runtime_error with what to do about it when the kernel forbids that.
void leaveHost();

// Gives this process a view of the file system of its own; nothing mounted later reaches the host.
// Throws like leaveHost, since some kernels refuse only here.
void leaveHostMounts();

// Switches on 127.0.0.1 in the network of this process. Throws std::system_error.
void bringLoopbackUp();

}  // namespace pallframe
