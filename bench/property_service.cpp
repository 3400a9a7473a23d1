// A service of 36 properties on systemd's bus library, on a direct connection to the given port: a
// usual way to publish a machine's state, and a measure for the daemon. `--log` and `--save` add
// what the daemon does for a set request, `--ticks` its wake-ups.

#include <systemd/sd-bus.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>
#include <vector>

#include "programs.h"
#include "property_messages.h"
#include "set_work.h"

namespace {

constexpr size_t kProperties = 36;
constexpr uint64_t kTickMicroseconds = 1'000'000;
constexpr int kTicksPerHeartbeat = 5;

struct State {
    std::array<int, kProperties> values;
    SetWork work;
};

int changeProperty(sd_bus* bus, const char* path, const char* interface, const char* property,
                   sd_bus_message* value, void* userdata, sd_bus_error* /*error*/) {
    State& state = *static_cast<State*>(userdata);
    const size_t index = std::strtoul(property + 1, nullptr, 10) % kProperties;
    const int result = sd_bus_message_read(value, "i", &state.values[index]);
    if (result < 0) {
        return result;
    }
    state.work.work();
    return sd_bus_emit_properties_changed(bus, path, interface, property, nullptr);
}

int readProperty(sd_bus* /*bus*/, const char* /*path*/, const char* /*interface*/,
                 const char* property, sd_bus_message* reply, void* userdata,
                 sd_bus_error* /*error*/) {
    const State& state = *static_cast<const State*>(userdata);
    const size_t index = std::strtoul(property + 1, nullptr, 10) % kProperties;
    return sd_bus_message_append(reply, "i", state.values[index]);
}

// The library keeps the table: it must live as long as the connection.
std::vector<sd_bus_vtable> table(const std::vector<std::string>& names) {
    std::vector<sd_bus_vtable> rows{SD_BUS_VTABLE_START(0)};
    for (const std::string& name : names) {
        rows.push_back(SD_BUS_WRITABLE_PROPERTY(name.c_str(), "i", readProperty, changeProperty, 0,
                                                SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE));
    }
    rows.push_back(SD_BUS_VTABLE_END);
    return rows;
}

sd_bus* connectBus(int socket) {
    sd_bus* bus = nullptr;
    sd_id128_t id = {};
    checked(sd_bus_new(&bus), "sd_bus_new");
    checked(sd_bus_set_fd(bus, socket, socket), "sd_bus_set_fd");
    checked(sd_id128_randomize(&id), "sd_id128_randomize");
    checked(sd_bus_set_server(bus, 1, id), "sd_bus_set_server");
    checked(sd_bus_set_anonymous(bus, 1), "sd_bus_set_anonymous");
    checked(sd_bus_set_trusted(bus, 1), "sd_bus_set_trusted");
    return bus;
}

// Until the other end closes the connection.
void serve(sd_bus* bus, bool ticks) {
    int tick = 0;
    for (int result = 0; result >= 0;) {
        result = sd_bus_process(bus, nullptr);
        if (result != 0) {
            continue;
        }
        result = sd_bus_wait(bus, ticks ? kTickMicroseconds : UINT64_MAX);
        if (result == 0 && ++tick % kTicksPerHeartbeat == 0) {
            sd_bus_emit_signal(bus, kPropertyPath, kPropertyInterface, "Alive", "");
        }
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc < 2) {
        return 2;
    }
    const std::vector<std::string> options(argv + 2, argv + argc);
    State state{{}, SetWork(options)};
    std::vector<std::string> names;
    for (size_t i = 0; i < kProperties; ++i) {
        names.push_back("P" + std::to_string(i));
    }
    const std::vector<sd_bus_vtable> rows = table(names);
    sd_bus* const bus =
        connectBus(connectTo(static_cast<uint16_t>(std::strtoul(argv[1], nullptr, 10))));
    checked(sd_bus_add_object_vtable(bus, nullptr, kPropertyPath, kPropertyInterface, rows.data(),
                                     &state),
            "sd_bus_add_object_vtable");
    checked(sd_bus_start(bus), "sd_bus_start");
    serve(bus, std::find(options.begin(), options.end(), "--ticks") != options.end());
    sd_bus_unref(bus);
}
