// What the doctor says of a frame that lacks something, and what the daemon publishes on it.

#include "on_product.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"
#include "util/json.h"

using namespace harness;
namespace paths = pallframe::simulation::paths;

namespace {

struct Lack {
    const char* product;
    std::string path;
    size_t published;  // how many parameters the doctor has a value for
};

void PrintTo(const Lack& lack, std::ostream* out) {
    *out << lack.path << " on " << lack.product;
}

// The doctor's finding of that path; an empty document when it has none.
util::UniqueJSON findingOf(const std::string& path) {
    Process doctor({programDirectory() / "pallframe", "doctor", "--json"});
    doctor.waitForEnd();
    const std::string text = doctor.output().waitForEnd();
    const util::UniqueJSON all = util::parseJSON(text.data(), text.size());
    const cJSON* check = nullptr;
    cJSON_ArrayForEach(check, util::jsonMember(all.get(), "checks")) {
        if (util::jsonText(util::jsonMember(check, "path")) == path) {
            return util::copyJSON(check);
        }
    }
    return nullptr;
}

class Lacking : public OnProduct, public testing::WithParamInterface<Lack> {
  protected:
    Lacking() : OnProduct(GetParam().product) { hide(GetParam().path); }

    // The daemon has polled twice when this has come and gone.
    void waitForPolls() {
        if (frame.exists(paths::kRegisters)) {
            waitForAnnouncement("psu1Voltage");
        } else if (onPolled(product)) {
            waitForAnnouncement("battVoltage");
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Something, Lacking,
                         testing::Values(Lack{"KELI", "/tmp/eeprom", 1},
                                         Lack{"Tessara", "/etc/build.prop", 1},
                                         Lack{"Quorane", "/vantor/etc/network.conf", 3},
                                         Lack{"QuoraneBrio", "/vantor/etc/network.conf", 3},
                                         Lack{"KELI", "/proc/net/bonding/bond0", 2},
                                         Lack{"Tessara", "/tmp/bond0", 2},
                                         Lack{"Tessara-5ru", "/tmp/tessaradetect.txt", 1},
                                         Lack{"Quorane", std::string(paths::kRegisters), 3}));

TEST_P(Lacking, PublishesWhatTheDoctorSays) {
    const util::UniqueJSON found = findingOf(GetParam().path);
    EXPECT_STREQ(util::jsonText(util::jsonMember(found.get(), "state")), "missing");
    startAndSettle();
    waitForPolls();
    size_t compared = 0;
    const cJSON* one = nullptr;
    cJSON_ArrayForEach(one, util::jsonMember(found.get(), "published")) {
        if (cJSON_IsNull(one) == 0) {
            EXPECT_EQ(valueOf(one->string), util::renderJSON(one, false)) << one->string;
            ++compared;
        }
    }
    EXPECT_EQ(compared, GetParam().published);
}

// A switch that was saved, and the file that says otherwise.
class Marked : public OnProduct {
  protected:
    Marked() : OnProduct("KELI") { frame.write(kSSHMarker, ""); }

    // What the doctor and then the daemon say of the switch.
    void expectBothToSay(const std::string& state) {
        const util::UniqueJSON found = findingOf(kSSHMarker);
        EXPECT_EQ(util::renderJSON(util::jsonMember(found.get(), "published"), false),
                  R"({"sshEnabled":)" + state + "}");
        startAndSettle();
        EXPECT_EQ(valueOf("sshEnabled"), state);
    }

    static constexpr const char* kSaved =
        R"({"version":1,"systemState":{"devices":[{"type":"device","slot":0,)"
        R"("params":{"d_system.sshEnabled":)"
        R"({"oid":"system.sshEnabled","type":"INT32","value":1}}}]}})";
};

TEST_F(Marked, IsOffWhereNothingWasSaved) {
    expectBothToSay("0");
}

TEST_F(Marked, IsWhatWasSaved) {
    frame.write(kStateFile, kSaved);
    expectBothToSay("1");
}

TEST_F(Marked, IsWhatTheOlderFileHasWhenThereIsNoNewer) {
    frame.write(kStateFile + std::string(".old"), kSaved);
    expectBothToSay("1");
}

TEST_F(Marked, IsWhatTheOlderFileHasWhenTheNewerIsDamaged) {
    frame.write(kStateFile, "{");
    frame.write(kStateFile + std::string(".old"), kSaved);
    expectBothToSay("1");
}

TEST_F(Marked, IsOffWhenBothFilesAreDamaged) {
    frame.write(kStateFile, "{");
    frame.write(kStateFile + std::string(".old"), "{}");
    expectBothToSay("0");
}

class DoctorOfProduct : public OnProduct, public testing::WithParamInterface<const char*> {
  protected:
    DoctorOfProduct() : OnProduct(GetParam()) {}
};

INSTANTIATE_TEST_SUITE_P(Products, DoctorOfProduct, testing::ValuesIn(kProducts),
                         [](const auto& one) { return identifierOf(one.param); });

TEST_P(DoctorOfProduct, IsSatisfiedWithAFrameThatIsWell) {
    Process doctor({programDirectory() / "pallframe", "doctor"});
    EXPECT_EQ(doctor.waitForEnd(), 0);
    EXPECT_THAT(doctor.output().waitForEnd(),
                testing::AllOf(testing::HasSubstr("product         " + product + "\n"),
                               testing::HasSubstr(" checks passed")));
}

}  // namespace
