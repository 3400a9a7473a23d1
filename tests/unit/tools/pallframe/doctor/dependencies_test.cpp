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

namespace {

std::string textOf(const std::string& file) {
    std::ifstream stream(PALLWATCH_SOURCE "/" + file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// The texts of all constants in a header.
std::vector<std::string> constantsIn(const std::string& header) {
    static const std::regex constant(R"re(constexpr const char\* k\w+ =\s*"([^"]*)";)re");
    const std::string text = textOf(header);
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

INSTANTIATE_TEST_SUITE_P(OfTheDaemon, Header, testing::Values("src/systemstate/places.h"));

TEST_P(Header, HasNoPlaceThatIsNotLookedAt) {
    const std::string text = textOf(GetParam());
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
        looked.insert(pathOf(check));
    }
    looked.insert("/vantor/etc/configurableSystemDetails");  // .json comes behind it
    // The daemon's own descriptors are not files of the frame.
    looked.insert({"/proc/self/fd/2147483647", "/proc/self/fd/%d"});
    const std::set<std::string> named = pathsInSources();
    EXPECT_THAT(named, Contains("/vantor/etc/network.conf"));
    EXPECT_THAT(named, testing::IsSubsetOf(looked));
}

TEST(Checks, LookForTheBusWhereTheDaemonConnects) {
    const std::string text = textOf("src/service/pallwatch_service.cpp");
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
            units.insert(pathOf(check));
        }
    }
    for (const std::string& command : constantsIn("src/systemstate/places.h")) {
        std::smatch match;
        if (std::regex_search(command, match, unit)) {
            EXPECT_THAT(units, Contains(match.str(1) + ".service"));
        }
    }
    EXPECT_EQ(units.size(), 2U);
}

TEST(Checks, EachConcernsSomeProduct) {
    for (const Check& check : checks()) {
        const bool concerns =
            check.concerns(Product("Quorane")) || check.concerns(Product("Tessara-5ru")) ||
            check.concerns(Product("QuoraneBrio")) || check.concerns(Product("KELI"));
        EXPECT_TRUE(concerns) << pathOf(check);
    }
}

TEST(Checks, TheParametersAreThoseOfTheCatalogue) {
    std::set<std::string> known;
    for (const CatalogueRow& row : catalogue()) {
        known.insert(row.key);
    }
    for (const Check& check : checks()) {
        for (const Published& one : check.published) {
            if (!one.name.empty()) {
                EXPECT_THAT(known, Contains("system." + std::string(one.name)));
            }
        }
    }
}

TEST(Checks, PathsComeFromThePlaces) {
    std::set<std::string> paths;
    for (const Check& check : checks()) {
        paths.insert(pathOf(check));
    }
    EXPECT_THAT(paths, testing::IsSupersetOf({"/tmp/eeprom", "/vantor/etc/network.conf",
                                              "/etc/init.d/S40network", "/sbin/devmem", "systemctl",
                                              "sudo", "pkill", "/vantor/etc", "/dev/log",
                                              "127.0.0.1:15000", "ssh.service", "vsftpd.service",
                                              "/vantor/etc/configurableSystemDetails.json"}));
}

}  // namespace
