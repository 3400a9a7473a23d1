// The doctor looks at everything that the daemon's sources name, and speaks of parameters that
// there are.

#include "inspection/checks.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

#include <gmock/gmock.h>

#include "systemstate/catalogue.h"
#include "systemstate/product.h"

using namespace inspection;
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

INSTANTIATE_TEST_SUITE_P(OfTheDaemon, Header,
                         testing::Values("src/systemstate/places.h", "src/service/paths.h"));

TEST_P(Header, HasNoPlaceThatIsNotLookedAt) {
    const std::string text = textOf(GetParam());
    const auto constants = constantsIn(GetParam());
    const auto written = static_cast<size_t>(std::count(text.begin(), text.end(), '='));
    EXPECT_EQ(constants.size(), written) << "constants that this test does not see";
    for (const std::string& place : constants) {
        EXPECT_THAT(lookedFor(), Contains(place));
    }
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
    for (const auto& group : {identityGroup(), mainCatalogue()}) {
        for (const CatalogueRow& row : group) {
            known.insert(row.key);
        }
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
                                              "sudo", "pkill", "/vantor/etc",
                                              "/vantor/etc/configurableSystemDetails.json"}));
}

}  // namespace
