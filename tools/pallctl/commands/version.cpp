#include <array>

#include "cli/standard_output.h"
#include "pallctl/commands/commands.h"

namespace pallctl {

namespace {

constexpr std::array<const char*, 2> kFrameNames{"version", "frameName"};

// The version of this program, in the form of a parameter.
client::Parameter makeOwnParameter() {
    client::Parameter own;
    own.descriptor.name = "pallctl";
    own.descriptor.label = "Version of this program";
    own.descriptor.type = "STRING";
    own.descriptor.readOnly = true;
    own.value = util::jsonString(cli::programVersion());
    return own;
}

// Succeeds without a device, too: then only the version of this program is printed.
ExitStatus version(const Options& options) {
    const client::Parameter own = makeOwnParameter();
    std::vector<const client::Parameter*> parameters{&own};
    client::Client client(options.connection(), client::Subscription::answers);
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
    program.addCommand("version", "Print the versions of program and frame").work([&options] {
        return version(options);
    });
}

}  // namespace pallctl
