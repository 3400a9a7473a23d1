#include "soaking/audit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pallframe/simulation/paths.h"
#include "support/temporary_directory.h"

namespace soak {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Audit : public testing::Test {
  protected:
    Audit() {
        tree_.replace("/vantor/etc/configurableSystemDetails.json",
                      R"({"version":0,"systemState":{"devices":[{"params":{)"
                      R"("d_system.systemName":{"value":"Studio"}}}]}})");
        tree_.replace(pallframe::simulation::paths::kNetwork,
                      "IPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
    }

    void acknowledge(const char* name, const std::string& value) {
        for (const Parameter& parameter : writableParameters()) {
            if (name == std::string(parameter.name)) {
                Request request;
                request.parameter = &parameter;
                request.kept = value;
                ledger_.sent(request, {});
            }
        }
        ledger_.answered({0, 200, "", ""});
    }

    std::vector<std::string> found() const { return audit(tree_, ledger_, book_); }

    const TemporaryDirectory directory_;
    const pallframe::simulation::FrameRoot tree_{directory_.path()};
    Ledger ledger_;
    SettingsBook book_;
};

TEST_F(Audit, NothingKnownIsNothingMissed) {
    EXPECT_THAT(found(), IsEmpty());
}

TEST_F(Audit, HoldsTheStateFileAgainstWhatWasAcknowledged) {
    acknowledge("systemName", "\"Studio\"");
    EXPECT_THAT(found(), IsEmpty());
    acknowledge("systemName", "\"Other\"");
    EXPECT_THAT(found(), ElementsAre(HasSubstr("systemName is \"Studio\"")));
}

TEST_F(Audit, FindsASavedSettingThatIsNotInTheFile) {
    acknowledge("frameName", "\"Studio\"");
    EXPECT_THAT(found(), ElementsAre(HasSubstr("frameName")));
}

TEST_F(Audit, HoldsNetworkConfAgainstTheBook) {
    book_.edited({0x0A000005, 0xFFFFFF00, 0x0A000001});
    EXPECT_THAT(found(), IsEmpty());
    book_.acknowledged("gateway", 0x0A000009, book_.edition());
    EXPECT_THAT(found(), ElementsAre("network.conf holds 10.0.0.5 255.255.255.0 10.0.0.1, due are"
                                     " 10.0.0.5 255.255.255.0 10.0.0.9"));
    tree_.setAside(pallframe::simulation::paths::kNetwork);
    EXPECT_THAT(found(), IsEmpty());
}

}  // namespace
}  // namespace soak
