#pragma once

class Machine;

// Starting and stopping the frame's services. The editions of the frame's software have different
// commands for it. Failures are logged and change nothing. Commands block the calling thread.

enum class Edition { brio, tessara };

// Whether the service is not marked as disabled by the file at `disabledMarker`.
bool isServiceEnabled(const Machine& machine, const char* disabledMarker);

void switchSsh(Machine& machine, Edition edition, bool enable);
void switchFtp(Machine& machine, Edition edition, bool enable);

// Ambrix is a server and a watch that shuts it off, started and stopped together. Starting does
// not stop what runs already.
void stopAmbrix(Machine& machine, Edition edition);
void startAmbrix(Machine& machine, Edition edition);

// The same as stopAmbrix, with a time limit for each command: for the poll.
void stopAmbrixInTime(Machine& machine, Edition edition);
