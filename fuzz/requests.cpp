// Requests to a whole device, under its own name and under a tunnelled one: payloads as they come
// from the bus, an empty line between them. Every member of a SET and every known name of a GET is
// answered, every answer is a message that carries the request's id, and the device can still be
// read afterwards.

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <asio/io_service.hpp>

#include "bus/tarn_internal_message.h"
#include "fuzz_target.h"
#include "service/redundant_controllers.h"
#include "service/state_saver.h"
#include "service/system_object.h"
#include "systemstate/system_state.h"
#include "whole_device.h"

namespace {

std::optional<TarnInternalMessage> decode(const std::string& payload) try {
    auto bytes = std::make_unique<std::vector<char>>(payload.begin(), payload.end());
    bytes->push_back('\0');
    return TarnInternalMessage(std::move(bytes));
} catch (const std::runtime_error&) {
    return std::nullopt;
}

std::vector<std::string> payloadsOf(const std::string& input) {
    std::vector<std::string> payloads;
    size_t start = 0;
    for (size_t end; (end = input.find("\n\n", start)) != std::string::npos; start = end + 2) {
        payloads.push_back(input.substr(start, end - start));
    }
    payloads.push_back(input.substr(start));
    return payloads;
}

size_t answersDue(const TarnInternalMessage& set) {
    const cJSON* const param = util::jsonMember(set.data(), "param");
    if (cJSON_IsObject(param) == 0) {
        return 0;
    }
    const bool activates =
        cJSON_IsBool(util::jsonMember(util::jsonMember(param, "systemState"), "active")) != 0;
    return static_cast<size_t>(cJSON_GetArraySize(param)) + (activates ? 1 : 0);
}

class Device {
  public:
    Device(const std::string& root, std::string prefix)
        : machine_(root), prefix_(std::move(prefix)) {
        state_.buildIdentityGroup("");
        state_.buildCatalogue();
        state_.setParamChanged_cb(
            [this](const ToskParam& param) { object_.announceChange(param); });
    }
    ~Device() { state_.setParamChanged_cb(nullptr); }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    void take(TarnInternalMessage message) {
        sent_.clear();
        message.header().splitObjectName();
        const Asker asker{message.uniqueId(), message.source()};
        switch (message.type()) {
            case MessageType::GET:
                object_.handleGet(message);
                break;
            case MessageType::SET:
                takeSet(std::move(message), asker);
                break;
            default:
                controllers_.handleSystemRsp(message);
                break;
        }
        requireMessages(asker);
    }

    void requireReadable() {
        state_.poll();
        require(util::renderJSON(state_.device()->toJSON().get(), false).size() > 2);
        require(util::renderJSON(state_.device()->valuesToJSON().get(), false).size() > 2);
    }

  private:
    struct Asker {
        std::string id;
        int32_t source;
    };

    // In turns of one member each.
    void takeSet(TarnInternalMessage message, const Asker& asker) {
        const size_t due = answersDue(message);
        object_.beginSet(std::move(message));
        while (!object_.workOnSet([] { return true; })) {
        }
        require(answersTo(asker) == due);
    }

    size_t answersTo(const Asker& asker) const {
        size_t count = 0;
        for (const TarnInternalMessage& message : sent_) {
            const bool answers =
                message.type() == MessageType::RSP && message.uniqueId() == asker.id;
            count += answers ? 1U : 0U;
        }
        return count;
    }

    void requireMessages(const Asker& asker) const {
        for (const TarnInternalMessage& message : sent_) {
            const std::string text = message.encode();
            require(text.find('\n') != std::string::npos);
            if (message.type() == MessageType::RSP) {
                require(message.uniqueId() == asker.id);
                require(message.header().destination == asker.source);
            }
        }
    }

    QuietMachine machine_;
    const std::string prefix_;
    SystemState state_{machine_.path("/vantor/etc/state"), machine_};
    std::vector<TarnInternalMessage> sent_;
    const pallwatch::SendMessage send_ = [this](TarnInternalMessage message) {
        sent_.push_back(std::move(message));
    };
    const pallwatch::RedundantControllers controllers_{state_, machine_, prefix_, send_};
    asio::io_service io_;
    pallwatch::StateSaver saver_{io_, state_};
    pallwatch::SystemObject object_{state_, prefix_, controllers_, saver_, send_};
};

void serve(const std::string& root, const std::string& prefix, const std::string& input) {
    const pallframe::simulation::FrameRoot tree(root);
    tree.remove("/vantor/etc/state.json");
    tree.replace("/vantor/etc/network.conf",
                 "IPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
    Device device(root, prefix);
    for (const std::string& payload : payloadsOf(input)) {
        if (std::optional<TarnInternalMessage> message = decode(payload)) {
            device.take(std::move(*message));
        }
    }
    device.requireReadable();
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QuietLog quiet;
    static const FuzzRoot root;
    const std::string input = textOf(data, size);
    serve(root.path(), "", input);
    serve(root.path(), "frameB", input);
    return 0;
}
