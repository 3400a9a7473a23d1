#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "cli/parse_number.h"
#include "cli/standard_output.h"
#include "pallctl/commands/commands.h"
#include "pallctl/values/build_id.h"
#include "pallctl/values/client_names.h"
#include "util/files.h"

namespace pallctl {

namespace {

constexpr std::array<const char*, 2> kFrameNames{"version", "frameName"};

constexpr const char* kDaemonProcess = "pallwatch";
constexpr size_t kMaxHeadBytes = 65536;  // of the program; its notes are in the first page

// A fact about a program, in the form of a parameter.
client::Parameter makeFact(const std::string& name, const char* label, const std::string& text) {
    client::Parameter fact;
    fact.descriptor.name = name;
    fact.descriptor.label = label;
    fact.descriptor.type = "STRING";
    fact.descriptor.readOnly = true;
    fact.value = util::jsonString(text);
    return fact;
}

// Some kernels list the threads of a process beside it.
bool isThread(const std::string& id) {
    const std::string status = util::readContents("/proc/" + id + "/status").bytes;
    return status.find("\nTgid:\t" + id + "\n") == std::string::npos;
}

// The processes of the daemon on this machine, oldest first.
std::vector<int> findDaemons() {
    std::vector<int> found;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", none)) {
        const std::string name = entry.path().filename();
        const auto id = cli::parseNumber<int>(name);
        if (id && findProcessName(name) == kDaemonProcess && !isThread(name)) {
            found.push_back(*id);
        }
    }
    std::ranges::sort(found);
    return found;
}

// The kernel's link leads to the file that runs, also when another one has replaced it.
void addDaemon(int process, const std::string& name, std::vector<client::Parameter>& facts) {
    const std::string link = "/proc/" + std::to_string(process) + "/exe";
    std::error_code error;
    const std::string file = std::filesystem::read_symlink(link, error);
    if (error) {
        client::complain(name, "the file of process " + std::to_string(process) +
                                   " cannot be read: " + error.message());
        return;
    }
    const auto build = findBuildID(util::readContents(link, kMaxHeadBytes).bytes);
    facts.push_back(
        makeFact(name + ".build", "Build ID of the running daemon", build.value_or("unknown")));
    facts.push_back(makeFact(name + ".file", "File of the running daemon", file));
}

std::vector<client::Parameter> collectFacts(const client::Device& device) {
    std::vector<client::Parameter> facts;
    facts.push_back(makeFact("pallctl", "Version of this program", cli::programVersion()));
    const std::vector<int> daemons = device.isDaemon() ? findDaemons() : std::vector<int>();
    for (const int process : daemons) {
        const std::string number = daemons.size() == 1 ? "" : "[" + std::to_string(process) + "]";
        addDaemon(process, kDaemonProcess + number, facts);
    }
    return facts;
}

// Succeeds without a device, too: then only the facts about programs are printed.
ExitStatus version(const Options& options) {
    client::Client client(options.connection(), client::Subscription::answers);
    const std::vector<client::Parameter> facts = collectFacts(client.device());
    std::vector<const client::Parameter*> parameters;
    parameters.reserve(facts.size() + kFrameNames.size());
    for (const client::Parameter& fact : facts) {
        parameters.push_back(&fact);
    }
    if (client.read({kFrameNames.begin(), kFrameNames.end()}) == kSuccess) {
        for (const char* name : kFrameNames) {
            const std::string fullName = client.device().fullName(name);
            if (const client::Parameter* parameter = client.cache().described(fullName)) {
                parameters.push_back(parameter);
            }
        }
    }
    const Style style = options.style();
    cli::print(style.format == Format::table ? formatNameValueLines(parameters, style)
                                             : formatParameters(parameters, style));
    return kSuccess;
}

}  // namespace

void addVersion(cli::Command program, const Options& options) {
    program.addCommand("version", "Print the versions of programs and frame").work([&options] {
        return version(options);
    });
}

}  // namespace pallctl
