#include "kills.h"

#include <signal.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <thread>

#include <cjson/cJSON.h>

#include "card.h"

namespace prove {

namespace {

using harness::BusMessage;
using namespace std::chrono_literals;

constexpr const char* kKind = "kill -9 in a storm of sets";
constexpr size_t kWindow = 4;                   // sets under way
constexpr int kLongestStorm = 30'000;           // microseconds
constexpr unsigned kFirstAddress = 0x0A000100;  // 10.0.1.0

// One of the two values that the storm changes; each set has the number of its place in the storm.
struct Stream {
    const char* id;
    unsigned sent = 0;
    unsigned acknowledged = 0;
};

// What is wrong with a file of settings; empty when nothing is.
std::string faultOf(const std::string& name, const std::string& bytes) {
    if (name.starts_with(kStateName) && !name.ends_with(".new")) {
        const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> root(
            cJSON_ParseWithLength(bytes.data(), bytes.size()), cJSON_Delete);
        return root ? "" : name + " does not parse";
    }
    const bool whole = bytes.starts_with("USE_DHCP=0\nIPADDR=10.0.") && bytes.ends_with("\n") &&
                       std::count(bytes.begin(), bytes.end(), '\n') == 4;
    return name != kNetworkName || whole ? "" : name + " is '" + bytes + "'";
}

class Storm {
  public:
    Storm(const std::string& program, const Share& share, Tally& tally)
        : card_("QuoraneBrio", program), random_(share.seed + share.number), tally_(tally) {}

    void run(size_t kills) {
        card_.start();
        for (size_t i = 0; i < kills; ++i) {
            rage();
            ++tally_.of(kKind).cases;
            checkFiles();
            checkSettings();
        }
        card_.kill();
    }

  private:
    // Ends with the daemon.
    void rage() {
        const auto time =
            std::chrono::microseconds(std::uniform_int_distribution(0, kLongestStorm)(random_));
        const std::jthread killer([this, time] {
            std::this_thread::sleep_for(time);
            card_.daemon().signal(SIGKILL);
        });
        try {
            for (size_t i = 0; i < kWindow; ++i) {
                sendNext();
            }
            for (;;) {
                takeAnswer();
                sendNext();
            }
        } catch (const std::runtime_error&) {
        }
        takeRest();
        card_.kill();
    }

    void sendNext() {
        const bool name = ++turn_ % 2 == 0;
        Stream& stream = name ? name_ : address_;
        const unsigned number = ++stream.sent;
        card_.bus().set(
            "system",
            R"({"id":")" + std::string(stream.id) + std::to_string(number) + R"(@5","param":)" +
                (name ? R"({"systemName":"n)" + std::to_string(number) + "\"}"
                      : R"({"ipAddress":)" + std::to_string(kFirstAddress + number) + "}") +
                "}");
    }

    void takeAnswer() {
        for (;;) {
            const BusMessage message = card_.bus().receive();
            if (message.type != "RSP" || message.at({"statusCode"}) != "200") {
                continue;
            }
            const std::string id = message.id();
            for (Stream* const stream : {&name_, &address_}) {
                if (id.starts_with(stream->id)) {
                    stream->acknowledged = static_cast<unsigned>(std::stoul(id.substr(1)));
                    return;
                }
            }
        }
    }

    // What was on its way when the daemon went.
    void takeRest() {
        try {
            for (;;) {
                takeAnswer();
            }
        } catch (const std::runtime_error&) {
        }
    }

    void checkFiles() {
        for (const auto& [name, entry] : card_.directory()) {
            if (const std::string fault = faultOf(name, entry.text); !fault.empty()) {
                tally_.lose(kKind, fault + round());
            }
        }
    }

    // Starts the daemon that the next storm is for.
    void checkSettings() {
        std::string settings = card_.start() ? card_.settings() : "nothing";
        checkStream(name_, valueBehind(settings, "systemName=\"n"), 0);
        checkStream(address_, valueBehind(settings, "ipAddress="), kFirstAddress);
    }

    // Nothing was sent yet when it still has another form.
    static unsigned valueBehind(const std::string& settings, const std::string& key) {
        const size_t at = settings.find(key);
        return at == std::string::npos
                   ? 0
                   : static_cast<unsigned>(std::stoul("0" + settings.substr(at + key.size(), 10)));
    }

    void checkStream(Stream& stream, unsigned value, unsigned base) {
        const unsigned number = value >= base ? value - base : 0;
        const bool fresh = stream.acknowledged == 0 && (value < base || value == 0);
        if (!fresh && (number < stream.acknowledged || number > stream.sent)) {
            tally_.lose(kKind, std::string(stream.id) + std::to_string(number) +
                                   " was found, acknowledged was " +
                                   std::to_string(stream.acknowledged) + ", sent " +
                                   std::to_string(stream.sent) + round());
        } else {
            Counts& counts = tally_.of(kKind);
            ++(number > stream.acknowledged ? counts.foundNew : counts.foundOld);
        }
        stream.acknowledged = std::max(stream.acknowledged, number);
        stream.sent = std::max(stream.sent, stream.acknowledged);
    }

    std::string round() const { return " (kill " + std::to_string(tally_.of(kKind).cases) + ")"; }

    Card card_;
    std::mt19937_64 random_;
    Tally& tally_;
    Stream name_{"n"};
    Stream address_{"a"};
    size_t turn_ = 0;
};

}  // namespace

void proveKills(const std::string& program, size_t kills, const Share& share, Tally& tally) {
    const size_t mine = kills / share.of + (share.number < kills % share.of ? 1 : 0);
    Storm(program, share, tally).run(mine);
}

}  // namespace prove
