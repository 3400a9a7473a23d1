// Whatever stands in network.conf: settings that were read from it come back the same from the file
// that the daemon would write for them.

#include "fuzz_target.h"
#include "systemstate/network_settings.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const systemstate::NetworkConf conf = systemstate::decodeNetworkConf(textOf(data, size));
    const systemstate::NetworkSettings settings{conf.ip.value_or(0), conf.netmask.value_or(0),
                                                conf.gateway.value_or(0)};
    const systemstate::NetworkConf again =
        systemstate::decodeNetworkConf(systemstate::renderNetworkConf(
            systemstate::dottedText(settings.ip), systemstate::dottedText(settings.netmask),
            systemstate::dottedText(settings.gateway)));
    require(again.ip == settings.ip);
    require(again.netmask == settings.netmask);
    require(again.gateway == settings.gateway);
    return 0;
}
