#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "model/files.h"
#include "orders.h"
#include "program/standard_output.h"
#include "program/timed_script.h"
#include "switchboard/control.h"
#include "trouble/plan.h"
#include "verbs.h"

namespace pallbus {

namespace {

constexpr const char* kForms =
    "LINE is one of\n"
    "  drop | delay TIME[-TIME] | corrupt [BYTES] | split | join MESSAGES |\n"
    "  close [mid-frame] | refuse [TIME] | silent [TIME] | stop reading [TIME]\n"
    "and behind it, in any order, as far as it makes sense:\n"
    "  how often     10% | every N | next N\n"
    "  of whom       [from|to] daemon | [from|to] client ID | [from|to] anyone\n"
    "  of what       object NAME\n"
    "  how long      for TIME\n"
    "with \"at TIME\" before it when it is not to begin now; or\n"
    "  calm          ends all trouble, also what is still to come\n"
    "  show          lists it\n"
    "TIME is such as 500ms, 2s, 3m.";

// One word is a whole line; several are the words of one, as the shell took them apart.
std::string joined(const std::vector<std::string>& words) {
    if (words.size() == 1) {
        return words.front();
    }
    std::string line;
    for (const std::string& word : words) {
        line += (line.empty() ? "" : " ") + script::quoted(word);
    }
    return line;
}

struct Options {
    std::vector<std::string> words;
    std::string script;  // a file; empty: none
    std::string record;  // a file; empty: none
    bool endRecording = false;
};

// What is wrong with it is wrong without a bus, too.
std::string orderOf(const Options& options) {
    if (!options.script.empty()) {
        const std::string text = readScript(options.script);
        parsePlan(text, options.script);
        return scriptOrder(text);
    }
    std::string line = joined(options.words);
    if (line != "show") {
        parseLine(line);
    }
    return line;
}

Reply answerOf(uint16_t port, const std::string& order, const UniqueFile& file = {}) {
    const auto reply = tell(port, order, file);
    if (!reply) {
        throw std::runtime_error("no bus on port " + std::to_string(port));
    }
    return *reply;
}

int makeTrouble(uint16_t port, const Options& options) {
    const Reply reply = answerOf(port, orderOf(options));
    if (!reply.done) {
        throw BadTrouble(reply.text);
    }
    print(reply.text);
    return 0;
}

// The file for the bus to write to. One that is there is emptied by the bus, when it takes it; one
// that was made for it goes again when nobody takes it.
class FileToRecord {
  public:
    explicit FileToRecord(const std::string& path) : path_(path) {
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
    ~FileToRecord() {
        if (isNew_ && !isTaken_) {
            ::unlink(path_.c_str());
        }
    }
    FileToRecord(const FileToRecord&) = delete;
    FileToRecord& operator=(const FileToRecord&) = delete;

    const UniqueFile& file() const { return file_; }
    void keep() { isTaken_ = true; }

  private:
    std::string path_;
    UniqueFile file_;
    bool isNew_ = false;
    bool isTaken_ = false;
};

void requireDone(const Reply& reply) {
    if (!reply.done) {
        throw std::runtime_error(reply.text);
    }
}

int beginRecording(uint16_t port, const std::string& path) {
    FileToRecord file(path);
    requireDone(answerOf(port, recordOrder(std::filesystem::absolute(path)), file.file()));
    file.keep();
    return 0;
}

int endRecording(uint16_t port) {
    requireDone(answerOf(port, kEndRecording));
    return 0;
}

int carryOut(uint16_t port, const Options& options) {
    if (options.endRecording) {
        return endRecording(port);
    }
    return options.record.empty() ? makeTrouble(port, options)
                                  : beginRecording(port, options.record);
}

}  // namespace

void addDo(Verb program, Call& call) {
    Verb verb = program.addVerb("do", "Trouble on a running bus, or a recording");
    const auto options = std::make_shared<Options>();
    verb.add("LINE", options->words, "What is to happen");
    verb.add("-s,--script", options->script, "Lines with their times, which begin now")
        .kind("FILE")
        .check(existingFile())
        .excludes("LINE");
    verb.add("--record", options->record, "Keep from now on what goes over the bus in a file")
        .kind("FILE")
        .excludes("LINE")
        .excludes("--script");
    verb.addFlag("--end-recording", options->endRecording, "End that")
        .excludes("LINE")
        .excludes("--script")
        .excludes("--record");
    verb.excludes({"--record", "--script", "--seed", "--trouble", "--verbose"});
    verb.notes(kForms);
    verb.action([options, &call] {
        if (options->words.empty() && options->script.empty() && options->record.empty() &&
            !options->endRecording) {
            throw BadUsage("something to do is required");
        }
        call.toBeDone = [options, &call] { return carryOut(call.port, *options); };
    });
}

}  // namespace pallbus
