#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

// One of the programs, started by a test that reads its two outputs. Killed when it goes.
class ProgramProcess {
  public:
    // The first word is the path of the program.
    explicit ProgramProcess(const std::vector<std::string>& words);
    ~ProgramProcess();
    ProgramProcess(const ProgramProcess&) = delete;
    ProgramProcess& operator=(const ProgramProcess&) = delete;

    pid_t id() const { return process_; }
    void signal(int number) const;

    // The most memory it ever had (proc(5), VmHWM).
    size_t mostResidentKiB() const;

    // The next line without its end; what there is of it when no more comes in time.
    std::string readLine() { return output_.readLine(); }
    // Whether something more has come, or comes within that time.
    bool hasOutput(std::chrono::milliseconds time) const { return output_.hasMore(time); }
    bool hasErrors(std::chrono::milliseconds time) const { return errors_.hasMore(time); }
    std::string readErrorLine() { return errors_.readLine(); }
    // Everything else until the stream ends.
    std::string restOfOutput() { return output_.readAll(); }
    std::string errors() { return errors_.readAll(); }
    // Goes away as the reader of a pipe does.
    void closeOutput() { output_.close(); }
    void closeErrors() { errors_.close(); }

    // Exit status, minus the number of the signal that ended it, or 1000 when it goes on.
    int wait();

  private:
    // The reading end of a pipe.
    class Stream {
      public:
        explicit Stream(int descriptor = -1) : descriptor_(descriptor) {}
        ~Stream() { close(); }
        Stream(const Stream&) = delete;
        Stream& operator=(const Stream&) = delete;

        void open(int descriptor) { descriptor_ = descriptor; }
        void close();
        bool hasMore(std::chrono::milliseconds time) const;
        std::string readLine();
        std::string readAll();

      private:
        bool readSome();

        int descriptor_;
        std::string pending_;
    };

    pid_t process_ = -1;
    Stream output_;
    Stream errors_;
    bool ended_ = false;
    int status_ = 0;
};

// pallbus on a free port, which it has printed.
class BusProcess {
  public:
    explicit BusProcess(const std::vector<std::string>& words = {});
    uint16_t port() const { return port_; }
    std::string portText() const { return std::to_string(port_); }
    ProgramProcess& process() { return process_; }

  private:
    ProgramProcess process_;
    uint16_t port_;
};

// What a program ended with.
struct Outcome {
    int status = 0;
    std::string output;
    std::string errors;
};

// Runs a program to its end.
Outcome runProgram(const std::vector<std::string>& words);
// Runs pallctl against the bus on that port, to its end.
Outcome pallctl(uint16_t port, const std::vector<std::string>& words);
std::vector<std::string> pallctlCommand(uint16_t port, const std::vector<std::string>& words);
std::vector<std::string> pallbusCommand(const std::vector<std::string>& words);
// The command line of a shell that runs a script, in which "$@" is a command.
std::vector<std::string> inShell(const std::string& script,
                                 const std::vector<std::string>& command);

// The port in "... 127.0.0.1:<port>"; 0 when the text does not end so.
uint16_t portOf(const std::string& line);
