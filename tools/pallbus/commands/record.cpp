#include <cerrno>
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

int record(uint16_t port, const Options& options) {
    if (options.stop) {
        sendToBus(port, kStopRecordingCommand);
        return 0;
    }
    // The bus truncates an existing file when it accepts it.
    const bool isNew = !util::fileExists(options.file);
    const util::UniqueFile file = util::openFile(options.file, "a");
    if (!file) {
        throw std::runtime_error(options.file + ": " + std::generic_category().message(errno));
    }
    try {
        sendToBus(port, recordCommand(std::filesystem::absolute(options.file)), file);
    } catch (const std::runtime_error&) {
        if (isNew) {
            std::filesystem::remove(options.file);
        }
        throw;
    }
    return 0;
}

}  // namespace

void addRecord(cli::Command program, const uint16_t& port) {
    cli::Command command = addBusCommand(program, "record", "Record the messages on a running bus");
    const auto options = std::make_shared<Options>();
    command.add("FILE", options->file, "Start to record to this file");
    command.addFlag("--stop", options->stop, "Stop; return when the file is complete")
        .excludes("FILE");
    command.work([options, &port] {
        if (options->file.empty() && !options->stop) {
            throw cli::UsageError("missing FILE or --stop");
        }
        return record(port, *options);
    });
}

}  // namespace pallbus
