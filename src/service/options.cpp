#include "service/options.h"

#include <getopt.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace pallwatch {

namespace {

constexpr const char* kShortOptions = "vdhp:b";

constexpr option kLongOptions[] = {
    {"logging", no_argument, nullptr, 'v'}, {"daemon", no_argument, nullptr, 'd'},
    {"help", no_argument, nullptr, 'h'},    {"prefix", required_argument, nullptr, 'p'},
    {"brio", no_argument, nullptr, 'b'},    {nullptr, 0, nullptr, 0},
};

constexpr const char* kUsage =
    "Pallwatch.\n"
    "example usage: pallwatch [options]\n"
    "options:\n"
    "  -v --logging                 Extended network logging\n"
    "  -d --daemon                  Run in daemon mode\n"
    "  -p --prefix <prefix_string>  Also listen for this prefix - for tunnelling state requests\n"
    "  -b --brio                    Brio mode - do not perform Tessara hardware scans\n"
    "  -h --help                    Show this help\n";

// Returns the exit status when the process cannot be detached.
std::optional<int> runDetached(const Detach& detach, std::FILE* errors) {
    constexpr int kKeepDirectory = 1;
    constexpr int kCloseStandardStreams = 0;
    if (detach(kKeepDirectory, kCloseStandardStreams) == 0) {
        return std::nullopt;
    }
    // perror(3) on a stream of our choice; its text has always carried a line end of its own.
    std::fprintf(errors, "%s: %s\n", "Error creating daemon. Exiting.\n", std::strerror(errno));
    return EXIT_FAILURE;
}

int reportInvalid(const char* program, int result, std::FILE* errors) {
    // An unknown long option has no letter; the parser's result is shown instead.
    const int letter = optopt != 0 ? optopt : result;
    const char* const fault = result == ':' ? "requires an argument" : "is invalid: ignored";
    std::fprintf(errors, "%s: option `-%c' %s. Try --help.\n", program, letter, fault);
    return EXIT_FAILURE;
}

}  // namespace

ParsedOptions parseOptions(int argc, char* argv[], std::FILE* errors, const Detach& detach) {
    ParsedOptions parsed;
    optind = 0;  // a fresh scan, also when the process has parsed before
    while (!parsed.exitStatus) {
        const int result = getopt_long(argc, argv, kShortOptions, kLongOptions, nullptr);
        switch (result) {
            case -1:
                return parsed;
            case 'h':
                std::fputs(kUsage, errors);
                parsed.exitStatus = EXIT_SUCCESS;
                break;
            case 'p':
                parsed.options.prefix = optarg;
                break;
            case 'v':
                parsed.options.extendedLogging = true;
                break;
            case 'b':
                parsed.options.brio = true;
                break;
            case 'd':
                parsed.exitStatus = runDetached(detach, errors);
                parsed.options.detached = !parsed.exitStatus;
                break;
            case 0:
                break;
            default:
                parsed.exitStatus = reportInvalid(argv[0], result, errors);
        }
    }
    return parsed;
}

}  // namespace pallwatch
