#pragma once

#include <chrono>
#include <functional>
#include <thread>

#include <asio/io_service.hpp>

#include "bus/timer.h"

namespace lumo {

// An I/O service with a thread of its own, and the task that this thread repeats.
//
// Made, started, stopped and destroyed by its owner's thread; the task runs on the service's. A run
// that lacks memory (std::bad_alloc) is given up, the next one comes in its time; every other
// exception that leaves the task ends the process.
class AsyncTaskService {
  public:
    AsyncTaskService() = default;
    // Stops.
    ~AsyncTaskService() { stop(); }
    AsyncTaskService(const AsyncTaskService&) = delete;
    AsyncTaskService& operator=(const AsyncTaskService&) = delete;

    asio::io_service& io() { return io_; }

    // Runs `task` at each multiple of `period` from now, the first time one period from now. A run
    // that takes longer does not shift the series: those that it delayed follow it at once. Call it
    // before start(); it replaces a task that was set earlier.
    void setPeriodicTask(std::chrono::milliseconds period, std::function<void()> task);
    // Launches the thread; it ends by itself when there is nothing to wait for. Waits up to five
    // seconds for the system to have a thread, then throws the exception of std::thread.
    void start();
    // Lets a task that is running come to its end, then joins the thread. Harmless when there is
    // none. After it the task runs no more.
    void stop();

  private:
    void waitForNext();
    void runTask();

    HandlerMemory memory_;  // of the wait
    asio::io_service io_;
    std::thread thread_;
    WaitableTimer timer_{io_};
    std::chrono::milliseconds period_{0};
    MonotonicWallClock::time_point deadline_;
    std::function<void()> task_;
};

}  // namespace lumo
