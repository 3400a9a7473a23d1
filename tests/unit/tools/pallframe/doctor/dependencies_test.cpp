// The doctor looks at everything that the daemon's sources name, and speaks of parameters that
// there are.

#include "pallframe/doctor/dependencies.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

#include <gmock/gmock.h>

#include "systemstate/catalogue.h"
#include "systemstate/product.h"

using namespace pallframe::doctor;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string readSource(const std::string& file) {
    std::ifstream stream(PALLWATCH_SOURCE "/" + file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// The texts of all constants in a header.
std::vector<std::string> constantsIn(const std::string& header) {
    static const std::regex constant(R"re(constexpr const char\* k\w+ =\s*"([^"]*)";)re");
    const std::string text = readSource(header);
    std::vector<std::string> found;
    const std::sregex_iterator matches(text.begin(), text.end(), constant);
    std::transform(matches, std::sregex_iterator(), std::back_inserter(found),
                   [](const std::smatch& match) { return match.str(1); });
    return found;
}

std::set<std::string> lookedFor() {
    std::set<std::string> places;
    for (const Check& check : checks()) {
        for (const char* place : check.places) {
            if (place != nullptr) {
                places.insert(place);
            }
        }
    }
    return places;
}

class Header : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(OfTheDaemon, Header, testing::Values("src/systemstate/paths.h"));

TEST_P(Header, HasNoPlaceThatIsNotLookedAt) {
    const std::string text = readSource(GetParam());
    const auto constants = constantsIn(GetParam());
    const auto written = static_cast<size_t>(std::count(text.begin(), text.end(), '='));
    EXPECT_EQ(constants.size(), written) << "constants that this test does not see";
    for (const std::string& place : constants) {
        EXPECT_THAT(lookedFor(), Contains(place));
    }
}

// Every text in the daemon's sources that is a path.
std::set<std::string> pathsInSources() {
    static const std::regex path(R"re("(/[a-z][^" ]*))re");
    std::set<std::string> found;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(PALLWATCH_SOURCE "/src")) {
        const std::string extension = entry.path().extension();
        if (extension == ".cpp" || extension == ".h") {
            std::ifstream stream(entry.path());
            const std::string text{std::istreambuf_iterator<char>(stream), {}};
            for (std::sregex_iterator match(text.begin(), text.end(), path), end; match != end;
                 ++match) {
                found.insert(match->str(1));
            }
        }
    }
    return found;
}

TEST(Checks, LookAtEveryPathThatTheDaemonNames) {
    const std::set<std::string> onlyTold{"/dev/ttyS1", "/dev/ttyS2", "/dev/ttyS3"};  // never opened
    std::set<std::string> looked = onlyTold;
    for (const Check& check : checks()) {
        looked.insert(extractPath(check));
    }
    looked.insert("/vantor/etc/configurableSystemDetails");  // .json comes behind it
    // The daemon's own descriptors are not files of the frame.
    looked.insert({"/proc/self/fd/2147483647", "/proc/self/fd/%d"});
    const std::set<std::string> named = pathsInSources();
    EXPECT_THAT(named, Contains("/vantor/etc/network.conf"));
    EXPECT_THAT(named, testing::IsSubsetOf(looked));
}

TEST(Checks, LookForTheBusWhereTheDaemonConnects) {
    const std::string text = readSource("src/service/pallwatch_service.cpp");
    std::smatch host;
    std::smatch port;
    ASSERT_TRUE(std::regex_search(text, host, std::regex("kBusHost = \"([^\"]*)\";")));
    ASSERT_TRUE(std::regex_search(text, port, std::regex("kBusPort = ([0-9]*);")));
    EXPECT_THAT(lookedFor(), Contains(host.str(1) + ":" + port.str(1)));
}

TEST(Checks, LookForEveryUnitThatTheDaemonSwitches) {
    static const std::regex unit("systemctl \\w+ (\\w+)");
    std::set<std::string> units;
    for (const Check& check : checks()) {
        if (check.kind == Kind::unit) {
            units.insert(extractPath(check));
        }
    }
    for (const std::string& command : constantsIn("src/systemstate/paths.h")) {
        std::smatch match;
        if (std::regex_search(command, match, unit)) {
            EXPECT_THAT(units, Contains(match.str(1) + ".service"));
        }
    }
    EXPECT_EQ(units.size(), 2U);
}

TEST(Checks, EachConcernsSomeProduct) {
    for (const Check& check : checks()) {
        const bool concerns = check.concerns(systemstate::Product("Quorane")) ||
                              check.concerns(systemstate::Product("Tessara-5ru")) ||
                              check.concerns(systemstate::Product("QuoraneBrio")) ||
                              check.concerns(systemstate::Product("KELI"));
        EXPECT_TRUE(concerns) << extractPath(check);
    }
}

TEST(Checks, LookAtEverythingThatAParameterDependsOn) {
    for (const systemstate::CatalogueRow& row : systemstate::catalogue()) {
        for (const systemstate::Dependency& dependency : row.dependsOn) {
            EXPECT_THAT(lookedFor(), Contains(dependency.place)) << row.key;
        }
    }
}

// "psu1Voltage=0", and the name alone when the value is not known beforehand.
std::vector<std::string> dependentOn(const std::string& path, const std::string& product) {
    std::vector<std::string> texts;
    for (const Check& check : checks()) {
        if (extractPath(check) == path && check.concerns(systemstate::Product(product))) {
            for (const Published& one : dependentParameters(check)) {
                texts.push_back(std::string(one.name) + (one.value.empty() ? "" : "=") +
                                std::string(one.value));
            }
        }
    }
    return texts;
}

TEST(Checks, NameTheParametersThatDependOnAPlace) {
    EXPECT_THAT(dependentOn("/tmp/eeprom", "KELI"), ElementsAre("frameName=\"Quorane\""));
    EXPECT_THAT(dependentOn("/vantor/etc/network.conf", "KELI"),
                ElementsAre("ipAddress=0", "netmask=0", "gateway=0"));
    EXPECT_THAT(dependentOn("/etc/init.d/S40network", "KELI"),
                ElementsAre("ipAddress", "netmask", "gateway"));
    EXPECT_THAT(dependentOn("/etc/init.d/S80tarnaview", "KELI"), ElementsAre("ipAddress"));
    EXPECT_THAT(dependentOn("/proc/net/bonding/bond0", "Quorane"),
                ElementsAre("ethPort1Status=0", "ethPort2Status=0", "activeEthernet"));
    EXPECT_THAT(dependentOn("/sys/devices/amba.1/f8007100.xadc/registers", "KELI"),
                ElementsAre("psu1Voltage=0", "psu2Voltage=0", "battVoltage=0"));
    EXPECT_THAT(dependentOn("/sbin/devmem", "KELI"), ElementsAre("battVoltage"));
    EXPECT_THAT(dependentOn("/vantor/etc/ftpServerDisabled", "KELI"), ElementsAre("ftpEnabled=0"));
    EXPECT_THAT(dependentOn("sudo", "QuoraneBrio"), ElementsAre("sshEnabled", "ftpEnabled"));
    EXPECT_THAT(dependentOn("ssh.service", "QuoraneBrio"), ElementsAre("sshEnabled"));
    EXPECT_THAT(dependentOn("/vantor/bin/ambrix-shutoff.sh", "KELI"), ElementsAre("ambrixEnabled"));
    EXPECT_THAT(dependentOn("/vantor/etc/keliControlMode", "Tessara-5ru"),
                ElementsAre("primaryIPAddress", "secondaryIPAddress"));
    EXPECT_THAT(dependentOn("/dev/log", "KELI"), IsEmpty());
}

TEST(Checks, PathsComeFromThePlaces) {
    std::set<std::string> paths;
    for (const Check& check : checks()) {
        paths.insert(extractPath(check));
    }
    EXPECT_THAT(paths, testing::IsSupersetOf({"/tmp/eeprom", "/vantor/etc/network.conf",
                                              "/etc/init.d/S40network", "/sbin/devmem", "systemctl",
                                              "sudo", "pkill", "/vantor/etc", "/dev/log",
                                              "127.0.0.1:15000", "ssh.service", "vsftpd.service",
                                              "/vantor/etc/configurableSystemDetails.json"}));
}

}  // namespace
