#include "faults.h"

#include <signal.h>
#include <sys/syscall.h>

#include <cerrno>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "card.h"
#include "errnos.h"

namespace prove {

namespace {

using harness::Deadline;
using namespace std::chrono_literals;

// Something that reads or writes settings, and what it makes of them.
struct Deed {
    const char* name;
    const char* product;
    const char* param;    // of a set; null for a start
    const char* file;     // that it writes; null when it only reads
    const char* newText;  // stands in that file when it was written
    bool isRetried;       // a save that failed is tried again until it worked
};

constexpr Deed kDeeds[] = {
    {"load of the settings", "QuoraneBrio", nullptr, nullptr, nullptr, false},
    {"start of a Tessara, writes deviceName", "Tessara", nullptr, kLabelName, "Studio frame",
     false},
    {"save of the state file", "QuoraneBrio", R"({"systemName":"after"})", kStateName, "\"after\"",
     true},
    {"save of network.conf", "QuoraneBrio", R"({"ipAddress":167772191})", kNetworkName,
     "IPADDR=10.0.0.31", false},
};

// What no fresh card has, so that a setting that fell back shows.
constexpr const char* kBefore =
    R"({"active":7,"frameName":"Frame before","quoraneProfilesEnabled":1,"quoraneUsersEnabled":0,)"
    R"("systemName":"before","sshEnabled":0,"ftpEnabled":0,"ambrixEnabled":0})";

class Deeds {
  public:
    Deeds(const std::string& program, const Deed& deed, const Share& share, Tally& tally)
        : deed_(deed), share_(share), tally_(tally), card_(deed.product, program) {}

    void proveAll() {
        prepare();
        const std::vector<Call> calls = callsWithoutFault();
        const uint32_t allocations = allocations_;
        proveCalls(calls);
        proveKills(calls);
        proveOutages(calls);
        proveAllocations(allocations);
    }

  private:
    // The settings from before, and what an undisturbed deed makes of them.
    void prepare() {
        require(card_.start(), "the daemon does not start");
        require(card_.set(kBefore) == 200, "the settings from before were refused");
        card_.kill();
        before_ = card_.directory();
        if (writesLabel()) {
            before_[kLabelName] = plainFile("Label before");
        }
        old_ = card_.found(before_);
        require(old_.find("systemName=\"before\"") != std::string::npos, "nothing was saved");
    }

    std::vector<Call> callsWithoutFault() {
        card_.put(before_);
        require(card_.start(Fault{}), "the daemon does not start");
        require(deed_.param == nullptr || setWith({}) == 200, "the set was refused");
        card_.page().disarm();
        std::vector<Call> calls = card_.page().calls();
        allocations_ = card_.page().allocations();
        card_.settings();
        card_.kill();
        after_ = card_.directory();
        new_ = card_.found(after_);
        require(deed_.file == nullptr || holdsNew(after_), "nothing new was written");
        return calls;
    }

    void proveCalls(const std::vector<Call>& calls) {
        const std::string kind = std::string(deed_.name) + ": each call, each errno";
        for (uint32_t i = 0; i < calls.size(); ++i) {
            for (const int failure : failuresOf(calls[i].number)) {
                if (share_.has(position_++)) {
                    prove(kind, {i + 1, failure, 0},
                          "call " + std::to_string(i + 1) + ", " + nameOfCall(calls[i].number) +
                              " of " + calls[i].path + ", " + nameOfFailure(failure));
                }
            }
        }
    }

    // A disk that is full or broken for a while, descriptors that others hold. What the daemon
    // shows meanwhile is its own affair; the files are not.
    void proveOutages(const std::vector<Call>& calls) {
        const std::string kind = std::string(deed_.name) + ": each call and all after it";
        for (uint32_t i = 0; i < calls.size(); ++i) {
            for (const int failure : {EIO, ENOSPC, EMFILE}) {
                if (share_.has(position_++)) {
                    prove(kind, {i + 1, failure, 0, true},
                          "from call " + std::to_string(i + 1) + ", " +
                              nameOfCall(calls[i].number) + ", " + nameOfFailure(failure));
                }
            }
        }
    }

    void proveKills(const std::vector<Call>& calls) {
        const std::string kind = std::string(deed_.name) + ": killed at each call";
        for (uint32_t i = 0; i < calls.size(); ++i) {
            for (const int failure : {kKill, kKillTorn}) {
                const bool applies = failure == kKill || calls[i].number == SYS_write;
                if (applies && share_.has(position_++)) {
                    prove(kind, {i + 1, failure, 0},
                          "call " + std::to_string(i + 1) + ", " + nameOfCall(calls[i].number));
                }
            }
        }
    }

    void proveAllocations(uint32_t allocations) {
        const std::string kind = std::string(deed_.name) + ": each allocation";
        for (uint32_t i = 1; i <= allocations; ++i) {
            if (share_.has(position_++)) {
                prove(kind, {0, 0, i}, "allocation " + std::to_string(i));
            }
        }
    }

    void prove(const std::string& kind, const Fault& fault, const std::string& what) {
        try {
            card_.put(before_);
            deed_.param == nullptr ? failStart(kind, fault, what) : failSet(kind, fault, what);
        } catch (const std::exception& error) {
            tally_.lose(kind, what + ": " + std::string(error.what()).substr(0, 200));
            card_.kill();
        }
    }

    // What the daemon shows after the fault counts as well as what the next start finds.
    void failStart(const std::string& kind, const Fault& fault, const std::string& what) {
        const bool up = card_.start(fault);
        const bool failed = card_.page().hasFailed();
        if (up && !fault.onwards) {
            card_.page().disarm();
            checkRunning(kind, what);
        }
        card_.kill();
        close(kind, failed, !up && !isKill(fault), what);
    }

    void failSet(const std::string& kind, const Fault& fault, const std::string& what) {
        require(card_.start(Fault{}), "the daemon does not start");
        const int status = setWith(fault);
        card_.page().disarm();
        const bool failed = card_.page().hasFailed();
        if (status == 200 && !holdsNew(card_.directory()) && deed_.isRetried) {
            holdStill();
            awaitRetry(kind, what);
        }
        const bool ended = !card_.isRunning();
        card_.kill();
        close(kind, failed, ended && !isKill(fault), what);
    }

    int setWith(const Fault& fault) {
        card_.page().arm(fault);
        return card_.set(deed_.param);
    }

    // As if it was killed right here.
    void holdStill() {
        card_.daemon().signal(SIGSTOP);
        held_ = card_.directory();
        card_.daemon().signal(SIGCONT);
    }

    void awaitRetry(const std::string& kind, const std::string& what) {
        const Deadline deadline(10s);
        while (card_.isRunning() && !holdsNew(card_.directory())) {
            if (deadline.passed()) {
                tally_.lose(kind, what + ": acknowledged, never saved");
                return;
            }
            std::this_thread::sleep_for(20ms);
        }
    }

    // The books of one case; no daemon runs.
    void close(const std::string& kind, bool failed, bool ended, const std::string& what) {
        if (!failed) {
            return;  // the daemon did not come that far this time
        }
        Counts& counts = tally_.of(kind);
        ++counts.cases;
        counts.ended += ended ? 1 : 0;
        check(kind, what, card_.directory(), counts);
        if (!held_.empty()) {
            Counts ignored;
            check(kind, what + ", killed before it was saved again", held_, ignored);
            held_.clear();
        }
    }

    void check(const std::string& kind, const std::string& what, const Directory& left,
               Counts& counts) {
        const std::string& settings = card_.found(left);
        if (!isOldOrNew(settings) || !labelIsOldOrNew(left)) {
            tally_.lose(kind, what + ": left " + describe(left) + "; found " + settings);
        } else if (settings == new_ && (deed_.file == nullptr || holdsNew(left))) {
            ++counts.foundNew;
        } else {
            ++counts.foundOld;
        }
    }

    bool isOldOrNew(const std::string& settings) const {
        return settings == old_ || settings == new_;
    }

    // Without the addresses: the poll brings those up to date, on cards that have one. Without the
    // frame's name where it comes from a label: that stays as it is when the label cannot be read.
    std::string savedPart(const std::string& settings) const {
        std::string saved = settings.substr(0, settings.find(" ipAddress="));
        if (writesLabel()) {
            const size_t name = saved.find("frameName=");
            saved.erase(name, saved.find(" quora", name) - name);
        }
        return saved;
    }

    void checkRunning(const std::string& kind, const std::string& what) {
        const std::string settings = card_.settings();
        if (savedPart(settings) != savedPart(old_)) {
            tally_.lose(kind, what + ": the daemon goes on with " + settings);
        }
    }

    bool labelIsOldOrNew(const Directory& left) const {
        const auto textOf = [](const Directory& in) {
            const auto found = in.find(kLabelName);
            return found == in.end() ? std::string() : found->second.text;
        };
        return textOf(left) == textOf(before_) || textOf(left) == textOf(after_);
    }

    bool holdsNew(const Directory& directory) const {
        const auto found = directory.find(deed_.file);
        return found != directory.end() &&
               found->second.text.find(deed_.newText) != std::string::npos;
    }

    bool writesLabel() const {
        return deed_.file != nullptr && std::string_view(deed_.file) == kLabelName;
    }

    static bool isKill(const Fault& fault) {
        return fault.failure == kKill || fault.failure == kKillTorn;
    }

    static void require(bool holds, const char* otherwise) {
        if (!holds) {
            throw std::runtime_error(otherwise);
        }
    }

    const Deed& deed_;
    const Share& share_;
    Tally& tally_;
    Card card_;
    Directory before_;
    Directory after_;
    std::string old_;
    std::string new_;
    uint32_t allocations_ = 0;
    size_t position_ = 0;
    Directory held_;
};

}  // namespace

void proveFaults(const std::string& program, const Share& share, Tally& tally) {
    for (const Deed& deed : kDeeds) {
        Deeds(program, deed, share, tally).proveAll();
    }
}

}  // namespace prove
