#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

#include "pallbus/commands/commands.h"
#include "pallbus/control_commands.h"
#include "util/files.h"

namespace pallbus {

namespace {

struct Options {
    std::string file;
    bool stop = false;
};

// The file that the bus will write. The bus truncates an existing file when it accepts it; a new
// file is removed again when the bus refuses it.
class RecordingFile {
  public:
    explicit RecordingFile(const std::string& path) : path_(path) {
        constexpr int kFlags = O_WRONLY | O_CREAT | O_CLOEXEC;
        int descriptor = ::open(path.c_str(), kFlags | O_EXCL, 0666);
        isNew_ = descriptor >= 0;
        if (!isNew_ && errno == EEXIST) {
            descriptor = ::open(path.c_str(), kFlags, 0666);
        }
        if (descriptor < 0) {
            throw std::runtime_error(path + ": " + std::generic_category().message(errno));
        }
        file_.reset(::fdopen(descriptor, "w"));
    }
    ~RecordingFile() {
        if (isNew_ && !isAccepted_) {
            ::unlink(path_.c_str());
        }
    }
    RecordingFile(const RecordingFile&) = delete;
    RecordingFile& operator=(const RecordingFile&) = delete;

    const util::UniqueFile& file() const { return file_; }
    void keep() { isAccepted_ = true; }

  private:
    std::string path_;
    util::UniqueFile file_;
    bool isNew_ = false;
    bool isAccepted_ = false;
};

int record(uint16_t port, const Options& options) {
    if (options.stop) {
        sendToBus(port, kStopRecordingCommand);
        return 0;
    }
    RecordingFile recording(options.file);
    sendToBus(port, recordCommand(std::filesystem::absolute(options.file)), recording.file());
    recording.keep();
    return 0;
}

}  // namespace

void addRecord(cli::Command program, const uint16_t& port) {
    cli::Command command = program.addCommand("record", "Record the messages on a running bus");
    const auto options = std::make_shared<Options>();
    command.add("FILE", options->file, "Start to record to this file");
    command.addFlag("--stop", options->stop, "Stop; return when the file is complete")
        .excludes("FILE");
    excludeServeOptions(command);
    command.work([options, &port] {
        if (options->file.empty() && !options->stop) {
            throw cli::UsageError("missing FILE or --stop");
        }
        return record(port, *options);
    });
}

}  // namespace pallbus
