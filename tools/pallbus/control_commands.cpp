#include "pallbus/control_commands.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "cli/command_line.h"
#include "cli/timed_script.h"

namespace pallbus {

namespace {

using broker::ControlReply;
using broker::ControlRequest;
using broker::ControlSocket;
using broker::FaultScheduler;

constexpr std::string_view kRecordPrefix = "record\n";

std::string formatStatus(const FaultScheduler& faultScheduler, const Recorder& recorder) {
    std::string text;
    for (const std::string& line : faultScheduler.describe()) {
        text += line + "\n";
    }
    text = text.empty() ? "no active faults\n" : text;
    return recorder.isRecording() ? text + "# recording to " + recorder.path() + "\n" : text;
}

ControlReply startRecording(ControlRequest request, Recorder& recorder) {
    if (recorder.isRecording()) {
        return {false, "already recording to " + recorder.path()};
    }
    if (!request.file) {
        return {false, "no file came with the command"};
    }
    const std::string path = cli::onOneLine(request.command.substr(kRecordPrefix.size()));
    recorder.start(std::make_unique<recording::Writer>(std::move(request.file), path, "pallbus"),
                   path);
    return {true, ""};
}

void stopRecording(Recorder& recorder, const ControlSocket::Answer& answer) {
    if (!recorder.isRecording()) {
        answer({false, "not recording"});
        return;
    }
    recorder.stop([answer](const std::optional<std::string>& failure) {
        answer({!failure, failure.value_or("")});
    });
}

}  // namespace

std::string readScript(const std::string& path) {
    std::string text = cli::script::readFile(path);
    return text.empty() || text.back() == '\n' ? text : text + '\n';
}

std::string recordCommand(const std::string& path) {
    return std::string(kRecordPrefix) + path;
}

void handleControlRequest(ControlRequest request, FaultScheduler& faultScheduler,
                          Recorder& recorder, const ControlSocket::Answer& answer) try {
    const std::string& command = request.command;
    if (command == kStopRecordingCommand) {
        stopRecording(recorder, answer);
    } else if (command.starts_with(kRecordPrefix)) {
        answer(startRecording(std::move(request), recorder));
    } else if (command == kStatusCommand) {
        answer({true, formatStatus(faultScheduler, recorder)});
    } else if (command == kClearCommand) {
        faultScheduler.clear();
        answer({true, ""});
    } else {
        faultScheduler.run(faults::parseFaultScript(command, "script"));
        answer({true, ""});
    }
} catch (const std::runtime_error& error) {  // script::Error
    answer({false, error.what()});
}

std::string sendToBus(uint16_t port, const std::string& command, const util::UniqueFile& file) {
    const auto reply = broker::sendCommand(port, command, file);
    if (!reply) {
        throw std::runtime_error("no bus on port " + std::to_string(port));
    }
    if (!reply->ok) {
        throw std::runtime_error(reply->text);
    }
    return reply->text;
}

}  // namespace pallbus
