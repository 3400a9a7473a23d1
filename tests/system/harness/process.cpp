#include "process.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>

#include "process_table.h"

namespace harness {

namespace fs = std::filesystem;

namespace {

using pallframe::simulation::check;
using pallframe::simulation::Descriptor;

[[noreturn]] void become(const std::vector<std::string>& words, int output, int error) {
    ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(error, STDERR_FILENO);
    becomeProgram(words);
}

pid_t start(const std::vector<std::string>& words, int output, int error) {
    const pid_t pid = check(::fork(), "fork");
    if (pid == 0) {
        become(words, output, error);
    }
    return pid;
}

std::vector<std::string> daemonWords(const std::vector<std::string>& arguments) {
    std::vector<std::string> words{programDirectory() / "pallwatch"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

}  // namespace

fs::path programDirectory() {
    return fs::read_symlink("/proc/self/exe").parent_path();
}

Process::Pipe::Pipe() {
    std::array<int, 2> ends{};
    check(::pipe2(ends.data(), O_CLOEXEC), "pipe");
    readEnd = Descriptor(ends[0]);
    writeEnd = Descriptor(ends[1]);
}

Process::Process(const std::vector<std::string>& words) : Process(words, Pipe(), Pipe()) {}

Process::Process(const std::vector<std::string>& words, Pipe output, Pipe error)
    : Child(start(words, output.writeEnd.get(), error.writeEnd.get())),
      output_(words[0] + " standard output", std::move(output.readEnd)),
      error_(words[0] + " standard error", std::move(error.readEnd)) {}

std::vector<std::string> Process::descriptors() const {
    return descriptorsOf(proc());
}

Daemon::Daemon(const std::vector<std::string>& arguments) : Process(daemonWords(arguments)) {}

}  // namespace harness
