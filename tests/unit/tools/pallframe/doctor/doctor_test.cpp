#include "pallframe/doctor/doctor.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "frame_to_inspect.h"
#include "systemstate/product.h"

using namespace pallframe::doctor;
using testing::IsEmpty;

namespace {

constexpr const char* kSettings = "/vantor/etc/configurableSystemDetails.json";

class Doctor : public FrameToInspect {};
class DoctorOn : public FrameToInspect, public testing::WithParamInterface<const char*> {
  protected:
    DoctorOn() { runAs(GetParam()); }

    // The checks of this product, without those of which both ways are good.
    std::vector<Check> needed() const {
        std::vector<Check> all;
        for (const Check& check : checks()) {
            if (check.concerns(systemstate::Product(GetParam())) && check.kind != Kind::optional &&
                check.kind != Kind::marker) {
                all.push_back(check);
            }
        }
        return all;
    }
};

bool needsLife(const std::string& path) {
    return path == "127.0.0.1:15000" || path.starts_with("/dev/");
}

// Where a check's file lies in a populated frame.
std::string locate(const Check& check) {
    const std::string path = extractPath(check);
    const std::string directory =
        check.kind == Kind::unit ? "/etc/systemd/system/" : "/usr/local/sbin/";
    return path.starts_with("/") ? path : directory + path;
}

std::vector<std::string> listNames(std::span<const Published> published) {
    std::vector<std::string> names;
    for (const Published& one : published) {
        if (!one.name.empty()) {
            names.emplace_back(one.name);
        }
    }
    return names;
}

INSTANTIATE_TEST_SUITE_P(Products, DoctorOn, testing::ValuesIn(kAllProducts));

TEST_P(DoctorOn, HasNoComplaintAboutAFrameThatIsWell) {
    const Diagnosis found = diagnosis();
    EXPECT_EQ(found.product, GetParam());
    EXPECT_TRUE(found.isWell());
    for (const Finding& finding : found.findings) {
        EXPECT_EQ(finding.state, needsLife(finding.path) ? State::notRunning : State::ok)
            << finding.path << ": " << finding.reason;
        EXPECT_THAT(finding.published, IsEmpty()) << finding.path;
    }
}

// In a frame that lacks the one thing, only its line complains.
TEST_P(DoctorOn, MissesEachThingThatIsNotThere) {
    for (const Check& check : needed()) {
        if (check.kind != Kind::file && check.kind != Kind::program && check.kind != Kind::unit) {
            continue;
        }
        runAs(GetParam());
        tree.setAside(locate(check));
        size_t complaints = 0;
        for (const Finding& finding : diagnosis().findings) {
            complaints += finding.isProblem() ? 1U : 0U;
        }
        const Finding finding = at(extractPath(check));
        EXPECT_EQ(finding.state, State::missing) << extractPath(check);
        EXPECT_EQ(finding.effect, check.effect);
        EXPECT_EQ(listNames(finding.published), listNames(dependentParameters(check)));
        EXPECT_FALSE(diagnosis().isWell());
        // Without the eeprom it is another product, of which more may be missing.
        EXPECT_TRUE(complaints == 1 || extractPath(check) == extractPath(productCheck()))
            << extractPath(check);
    }
}

TEST_P(DoctorOn, SaysWhenAFileDoesNotSayWhatItHasTo) {
    size_t tried = 0;
    for (const Check& check : needed()) {
        if (check.kind == Kind::file && check.decodes != nullptr) {
            runAs(GetParam());
            tree.replace(locate(check), "\n");
            EXPECT_EQ(at(extractPath(check)).state, State::undecodable) << extractPath(check);
            for (const Published& one : at(extractPath(check)).published) {
                EXPECT_EQ(one.value.empty(), !check.isSure) << one.name;
            }
            ++tried;
        }
    }
    EXPECT_GE(tried, 4U);
}

TEST_P(DoctorOn, SaysWhenAProgramMayNotBeRun) {
    for (const Check& check : needed()) {
        if (check.kind == Kind::program) {
            runAs(GetParam());
            tree.replace(locate(check), "", 0644);
            EXPECT_EQ(at(extractPath(check)).state, State::notExecutable) << extractPath(check);
        }
    }
}

TEST_F(Doctor, KnowsWhatIsPublishedWithABuildFileThatSaysNothing) {
    runAs("KELI");
    tree.replace("/etc/build.prop", "");
    const Finding finding = at("/etc/build.prop");
    EXPECT_EQ(finding.state, State::undecodable);
    ASSERT_EQ(finding.published.size(), 1U);
    EXPECT_EQ(finding.published[0].value, "\"read error\"");
}

TEST_F(Doctor, TakesTheProgramsOfASimulatedFrameForWhatTheyAreInside) {
    runAs("KELI");
    tree.replace(pallframe::simulation::paths::kProgram, "", 0644);  // where the program is mounted
    tree.remove("/bin/sh");  // and where the machine's is shown
    EXPECT_TRUE(diagnosis().isWell());
    tree.remove(pallframe::simulation::paths::kProgram);
    EXPECT_TRUE(diagnosis().isWell());
    tree.remove(pallframe::simulation::paths::kProduct);
    EXPECT_EQ(at("/sbin/devmem").state, State::missing) << "no simulated frame";
    EXPECT_EQ(at("/bin/sh").state, State::missing);
}

TEST_F(Doctor, KnowsTheProductFromWhatAShellWouldRead) {
    EXPECT_EQ(productNamed("SERIAL=1\nPRODUCT=KELI\n"), "KELI");
    EXPECT_EQ(productNamed("export PRODUCT=\"Tessara-5ru\"\r\n"), "Tessara-5ru");
    EXPECT_EQ(productNamed("PRODUCT=KELI\nPRODUCT='Quorane'"), "Quorane");
    EXPECT_EQ(productNamed("PRODUCTS=KELI\n#PRODUCT=KELI\nproduct=KELI"), "");
}

TEST_F(Doctor, ACardThatSaysNothingIsAQuorane) {
    runAs("Quorane");
    tree.setAside("/tmp/eeprom");
    EXPECT_EQ(diagnosis().product, "Quorane");
    EXPECT_EQ(at("/tmp/eeprom").published.at(0).value, "\"Quorane\"");
}

TEST_F(Doctor, AnUnknownProductIsAProblem) {
    runAs("Quorane");
    tree.replace("/tmp/eeprom", "PRODUCT=Quasar\n");
    EXPECT_EQ(diagnosis().product, "Quasar");
    EXPECT_EQ(at("/tmp/eeprom").state, State::undecodable);
}

// The daemon keeps a name as it stands, and only one that is written "Quorane" has ports to switch.
TEST_F(Doctor, ANameThatNoProductHasMakesNoQuorane) {
    runAs("Quorane");
    for (const std::string name : {"Quasar", "quorane"}) {
        tree.replace("/tmp/eeprom", "PRODUCT=" + name + "\n");
        const Finding finding = at("/tmp/eeprom");
        EXPECT_THAT(finding.reason, testing::HasSubstr("'" + name + "'"));
        EXPECT_THAT(finding.effect, testing::HasSubstr("active port cannot be switched"));
        EXPECT_EQ(listNames(finding.published),
                  (std::vector<std::string>{"frameName", "activeEthernet"}));
        EXPECT_EQ(finding.published.at(0).value, "") << "not that of a card without a name";
    }
}

TEST_F(Doctor, ACardWithAnEmptyNameIsAQuorane) {
    runAs("Quorane");
    tree.replace("/tmp/eeprom", "PRODUCT=\n");
    EXPECT_EQ(at("/tmp/eeprom").effect, "the card counts as a Quorane");
    EXPECT_EQ(at("/tmp/eeprom").published.at(0).value, "\"Quorane\"");
}

TEST_F(Doctor, TellsWhatAMarkerMeansWithoutComplaining) {
    runAs("KELI");
    tree.replace("/vantor/etc/sshServerDisabled", "");
    const Finding finding = at("/vantor/etc/sshServerDisabled");
    EXPECT_EQ(finding.state, State::ok);
    EXPECT_EQ(finding.reason, "present");
    EXPECT_EQ(finding.published.at(0).name, "sshEnabled");
    EXPECT_EQ(finding.published.at(0).value, "0");
    EXPECT_TRUE(diagnosis().isWell());
}

// A state file in which one parameter of the device is saved.
std::string savedAs(const std::string& oid, const std::string& value) {
    return R"({"version":1,"systemState":{"devices":[{"type":"device","slot":0,"params":{"d_)" +
           oid + R"(":{"oid":")" + oid + R"(","type":"INT32","value":)" + value + "}}}]}}";
}

struct SavedCase {
    const char* oid;
    const char* saved;
    const char* published;
    const char* effect;
};

const SavedCase kSavedCases[] = {
    {"system.sshEnabled", "1", "1", "without effect"},
    {"system.sshEnabled", "0", "0", "without effect"},
    {"system.sshEnabled", "7", "", "without effect"},
    {"frameB.system.sshEnabled", "1", "1", "without effect"},
    {"system.ftpEnabled", "1", "0", "the service is off"},
};

TEST_F(Doctor, AMarkerDoesNotCountAgainstASavedSwitch) {
    for (const char* file : {kSettings, "/vantor/etc/configurableSystemDetails.json.old"}) {
        for (const SavedCase& one : kSavedCases) {
            runAs("KELI");
            tree.replace("/vantor/etc/sshServerDisabled", "");
            tree.replace(file, savedAs(one.oid, one.saved));
            const Finding finding = at("/vantor/etc/sshServerDisabled");
            EXPECT_EQ(finding.published.at(0).value, one.published) << one.oid << one.saved << file;
            EXPECT_THAT(finding.effect, testing::StartsWith(one.effect)) << one.oid << one.saved;
            tree.remove(file);
        }
    }
}

TEST_F(Doctor, ASwitchThatWasSavedAsOffIsToldWithoutAMarkerToo) {
    runAs("KELI");
    tree.replace(kSettings, savedAs("system.sshEnabled", "0"));
    const Finding finding = at("/vantor/etc/sshServerDisabled");
    EXPECT_EQ(finding.state, State::ok);
    EXPECT_EQ(finding.reason, "absent, as expected");
    ASSERT_EQ(finding.published.size(), 1U);
    EXPECT_EQ(finding.published[0].name, "sshEnabled");
    EXPECT_EQ(finding.published[0].value, "0");
    EXPECT_THAT(finding.effect, testing::StartsWith("because the switch was saved so"));
    EXPECT_TRUE(at("/vantor/etc/ftpServerDisabled").published.empty()) << "was not saved";
    tree.replace(kSettings, savedAs("system.sshEnabled", "1"));
    EXPECT_TRUE(at("/vantor/etc/sshServerDisabled").published.empty()) << "is on as usual";
}

// The daemon follows this one while it runs.
TEST_F(Doctor, TheMarkerOfAmbrixCountsAlsoAgainstASavedSwitch) {
    runAs("KELI");
    tree.replace("/vantor/etc/ambrixDisabled", "");
    tree.replace(kSettings, savedAs("system.ambrixEnabled", "1"));
    EXPECT_EQ(at("/vantor/etc/ambrixDisabled").published.at(0).value, "0");
}

TEST_F(Doctor, ReadsTheSettingsOrTheirOlderCopy) {
    runAs("Quorane");
    EXPECT_EQ(at(kSettings).reason, "nothing was saved yet");
    tree.replace(kSettings, "{\"version\":1}");
    EXPECT_EQ(at(kSettings).state, State::ok);
    tree.replace(kSettings, "{\"vers");
    EXPECT_EQ(at(kSettings).reason, "saved settings start with their defaults");
    tree.replace(std::string(kSettings) + ".old", "{}");
    EXPECT_EQ(at(kSettings).state, State::undecodable);
    EXPECT_EQ(at(kSettings).reason, "saved settings start with their defaults") << "it is there";
    tree.replace(std::string(kSettings) + ".old", savedAs("system.active", "1"));
    EXPECT_EQ(at(kSettings).state, State::undecodable);
    EXPECT_EQ(at(kSettings).reason, "its older copy is used");
    tree.remove(kSettings);
    EXPECT_EQ(at(kSettings).reason, "its older copy is used");
    EXPECT_EQ(at(kSettings).state, State::missing);
    const auto names = listNames(at(kSettings).published);
    EXPECT_THAT(names, testing::IsSupersetOf({"frameName", "systemName", "sshEnabled"}));
    EXPECT_THAT(names, testing::Not(testing::Contains("ipAddress")));
}

TEST_F(Doctor, MissesTheDirectoryOfTheSettings) {
    runAs("Quorane");
    tree.setAside("/vantor/etc");
    EXPECT_EQ(at("/vantor/etc").state, State::missing);
}

TEST_F(Doctor, FollowsLinksAsTheFrameDoes) {
    runAs("Quorane");
    tree.replace("/elsewhere/conf", tree.read(pallframe::simulation::paths::kNetwork));
    tree.remove(pallframe::simulation::paths::kNetwork);
    std::filesystem::create_symlink("/elsewhere/conf",
                                    tree.path(pallframe::simulation::paths::kNetwork));
    EXPECT_EQ(at("/vantor/etc/network.conf").state, State::ok);
    tree.remove(pallframe::simulation::paths::kNetwork);
    std::filesystem::create_symlink("/etc/passwd",
                                    tree.path(pallframe::simulation::paths::kNetwork));
    tree.remove("/etc/passwd");
    EXPECT_EQ(at("/vantor/etc/network.conf").state, State::missing) << "the host has one";
}

TEST_F(Doctor, IsNotHeldUpByWhatIsNoFile) {
    runAs("Quorane");
    tree.remove("/etc/build.prop");
    ASSERT_EQ(::mkfifo(tree.path("/etc/build.prop").c_str(), 0644), 0);
    EXPECT_EQ(at("/etc/build.prop").state, State::unreadable);
    tree.remove(pallframe::simulation::paths::kNetwork);
    tree.makeDirectory(pallframe::simulation::paths::kNetwork);
    EXPECT_EQ(at("/vantor/etc/network.conf").reason, "not a plain file");
}

TEST_F(Doctor, SaysWhatThisUserMayNotSee) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    runAs("Quorane");
    std::filesystem::permissions(tree.path("/"), std::filesystem::perms::all);
    std::filesystem::permissions(tree.path("/vantor/etc"), std::filesystem::perms::owner_all);
    ASSERT_EQ(::seteuid(65534), 0);
    const Diagnosis found = diagnosis();
    const Finding finding = at("/vantor/etc/network.conf");
    ASSERT_EQ(::seteuid(0), 0);
    EXPECT_EQ(finding.state, State::notAccessible);
    EXPECT_EQ(finding.reason, "Permission denied");
    EXPECT_THAT(finding.published, IsEmpty());
    EXPECT_TRUE(found.isWell()) << "of what could be seen";
}

}  // namespace
