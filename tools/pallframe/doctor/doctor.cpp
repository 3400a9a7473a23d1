// The product comes first, because it decides which checks apply. Each check probes one place of
// the root and becomes a finding; the state file and the marker files of the services need more,
// because a saved value overrides a marker.

#include "pallframe/doctor/doctor.h"

#include <algorithm>
#include <optional>

#include "model/param_values.h"
#include "model/tosk_persisted_structure.h"
#include "systemstate/catalogue.h"
#include "systemstate/product.h"
#include "util/json.h"

namespace pallframe::doctor {

namespace {

using systemstate::Product;

constexpr const char* kUnlabelled =
    "Quorane";  // what the daemon takes a card for that says nothing

Product identifyProduct(const RootProbe& root) {
    const std::string name = productNamed(root.file(extractPath(productCheck())).text);
    return Product(name.empty() ? kUnlabelled : name);
}

ProbeResult probeFile(const RootProbe& root, const Check& check, const Product& product) {
    ProbeResult found = root.file(extractPath(check));
    if (found.state == State::ok && check.decodes != nullptr &&
        !check.decodes(found.text, product)) {
        return {State::undecodable, "does not say what it has to"};
    }
    return found;
}

const ToskParam* findSwitch(const ToskDevice& device, std::string_view name) {
    const std::string own = "system." + std::string(name);
    if (const ToskParam* const param = device.findParam(own)) {
        return param;
    }
    // Saved under a tunnelled name it belongs to the switch all the same.
    for (const auto& [key, param] : device.params()) {
        if (key.ends_with("." + own)) {
            return param.get();
        }
    }
    return nullptr;
}

// The state file, read as the daemon reads it at its start. Any other text has no switches.
class SavedState {
  public:
    explicit SavedState(const std::string& text) {
        const util::UniqueJSON root = util::parseJSON(text.data(), text.size());
        usable_ = saved_.fromJSON(util::jsonMember(root.get(), "systemState")) == 0;
    }

    // Whether the daemon accepts the text.
    bool isUsable() const { return usable_; }

    // The saved value of a service's switch such as "sshEnabled": "0" or "1", an empty text for any
    // other value. Empty when it was not saved.
    std::optional<std::string_view> findState(std::string_view name) const {
        const ToskParam* const param =
            saved_.devices().empty() ? nullptr : findSwitch(*saved_.devices().front(), name);
        if (param == nullptr) {
            return std::nullopt;
        }
        const std::optional<int64_t> number = model::readInteger(param);
        return number == 0 ? "0" : number == 1 ? "1" : "";
    }

  private:
    ToskPersistedStructure saved_{""};
    bool usable_ = false;
};

bool isUsable(const ProbeResult& saved) {
    return saved.state == State::ok && SavedState(saved.text).isUsable();
}

// Which state file the daemon starts from: the older copy serves when the present one is missing,
// cannot be opened or is damaged.
ProbeResult findSavedState(const RootProbe& root, const std::string& path) {
    ProbeResult present = root.file(path);
    if (present.state == State::notAccessible || isUsable(present)) {
        return present;
    }
    ProbeResult older = root.file(path + ".old");
    const bool takesOlder =
        present.state == State::ok ? isUsable(older) : older.state != State::missing;
    return takesOlder ? older : present;
}

// A frame that has never saved anything has neither file.
ProbeResult probeSettings(const RootProbe& root, const Check& check, const Product& product) {
    const ProbeResult present = root.file(extractPath(check));
    const ProbeResult used = findSavedState(root, extractPath(check));
    if (used.state == State::notAccessible) {
        return {used.state, used.reason};
    }
    if (used.state == State::ok && check.decodes(used.text, product)) {
        const bool isPresent = present.state == State::ok && used.text == present.text;
        const State state = present.state == State::ok ? State::undecodable : present.state;
        return isPresent ? ProbeResult{State::ok, ""}
                         : ProbeResult{state, "its older copy is used"};
    }
    return used.state == State::missing
               ? ProbeResult{State::ok, "nothing was saved yet"}
               : ProbeResult{State::undecodable, "saved settings start with their defaults"};
}

// All that the state file could have brought.
std::vector<Published> savedParameters() {
    std::vector<Published> saved;
    for (const systemstate::CatalogueRow& row : systemstate::catalogue()) {
        if (row.storage == systemstate::Storage::published) {
            saved.push_back({leafName(row), ""});
        }
    }
    return saved;
}

// What is published is known where the daemon finds nothing; where it finds half of something, only
// which parameters that touches.
std::vector<Published> publishedWithout(const Check& check, State state) {
    if (check.kind == Kind::settings) {
        return savedParameters();
    }
    const bool isKnown = state != State::undecodable || check.isSure;
    std::vector<Published> all = dependentParameters(check);
    for (Published& one : all) {
        one.value = isKnown ? one.value : "";
    }
    return all;
}

Finding optionalFinding(const RootProbe& root, const Check& check) {
    const ProbeResult found = root.file(extractPath(check));
    Finding finding{extractPath(check)};
    if (found.state == State::notAccessible) {
        finding.state = found.state;
        finding.reason = found.reason;
    } else if (found.state == State::missing) {
        finding.reason = "absent, as expected";
    } else {
        finding.reason = "present";
        finding.published = publishedWithout(check, State::ok);
        finding.effect = check.effect;
    }
    return finding;
}

std::string settingsPath() {
    const auto all = checks();
    return extractPath(*std::find_if(
        all.begin(), all.end(), [](const Check& check) { return check.kind == Kind::settings; }));
}

// A switch that was saved counts, whether there is a marker or not. One that was saved as on is as
// usual without it.
Finding markerFinding(const RootProbe& root, const Check& check) {
    Finding finding = optionalFinding(root, check);
    const ProbeResult saved = findSavedState(root, settingsPath());
    const bool isMarked = !finding.published.empty();
    const std::string_view name = dependentParameters(check).front().name;
    if (isMarked && saved.state == State::notAccessible) {
        finding.published = {{name, ""}};
        finding.effect = "the service is off, unless a saved value says otherwise";
    }
    const auto held = SavedState(saved.text).findState(name);
    if (!held || finding.state == State::notAccessible) {
        return finding;
    }
    if (isMarked) {
        finding.published = {{name, *held}};
        finding.effect = "without effect, because the switch was saved and that counts";
    } else if (held != "1") {
        finding.published = {{name, *held}};
        finding.effect = "because the switch was saved so, which counts without this file too";
    }
    return finding;
}

uint16_t parsePort(const std::string& address) {
    return static_cast<uint16_t>(std::stoi(address.substr(address.rfind(':') + 1)));
}

ProbeResult probe(const RootProbe& root, const Check& check, const Product& product) {
    const std::string path = extractPath(check);
    switch (check.kind) {
        case Kind::program:
            return root.program(path);
        case Kind::directory:
            return root.directory(path);
        case Kind::settings:
            return probeSettings(root, check, product);
        case Kind::unit:
            return root.unit(path);
        case Kind::listener:
            return root.listener(parsePort(path));
        case Kind::syslog:
            return root.syslog(path);
        case Kind::device:
            return root.device(path);
        case Kind::file:
        case Kind::optional:
        case Kind::marker:
            break;
    }
    return probeFile(root, check, product);
}

// The daemon takes an unknown name literally; only a card without a name counts as a Quorane.
void describeUnknownName(Finding& finding, const std::string& name) {
    finding.reason = "'" + name + "' is not the exact name of a known product";
    finding.published = {{"frameName", ""}, {"activeEthernet", ""}};
    finding.effect = "treated as a Quorane under that name, but its active port cannot be switched";
}

Finding makeFinding(const RootProbe& root, const Check& check, const Product& product) {
    if (check.kind == Kind::optional) {
        return optionalFinding(root, check);
    }
    if (check.kind == Kind::marker) {
        return markerFinding(root, check);
    }
    const ProbeResult found = probe(root, check, product);
    Finding finding{extractPath(check), found.state, found.reason};
    if (finding.isProblem()) {
        finding.published = publishedWithout(check, found.state);
        finding.effect = check.effect;
    }
    if (&check == &productCheck() && finding.isProblem() && !product.isQuorane()) {
        describeUnknownName(finding, product.name());
    }
    return finding;
}

}  // namespace

bool Diagnosis::isWell() const {
    return std::none_of(findings.begin(), findings.end(),
                        [](const Finding& finding) { return finding.isProblem(); });
}

Diagnosis diagnose(const RootProbe& root) {
    const Product product = identifyProduct(root);
    Diagnosis diagnosis{product.name()};
    for (const Check& check : checks()) {
        if (check.concerns(product)) {
            diagnosis.findings.push_back(makeFinding(root, check, product));
        }
    }
    return diagnosis;
}

}  // namespace pallframe::doctor
