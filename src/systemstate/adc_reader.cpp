#include "systemstate/adc_reader.h"

#include <optional>
#include <string>

#include "systemstate/machine.h"
#include "systemstate/paths.h"
#include "util/log.h"
#include "util/trace.h"

namespace systemstate {

AdcReader::AdcReader(const Machine& machine) : machine_(machine) {}

void AdcReader::read(BatterySource source) {
    const std::optional<std::string> dump = machine_.readFile(kXadcFile);
    if (!dump) {
        util::traceError("open xadc: %m\n");
        return;
    }
    if (dump->size() < kXadcDumpSize) {
        util::traceError("xadc read too small\n");
        return;
    }
    const std::optional<XadcReadings> readings = decodeXadcDump(*dump, source);
    if (!readings) {
        reportGarbled();
        return;
    }
    samples_ = filterReadings(samples_, *readings, filtering_);
    filtering_ = Filtering::smoothed;
    garbledReported_ = false;
}

void AdcReader::reportGarbled() {
    if (!garbledReported_) {
        util::logMessage(LOG_ERR, "%s holds no register dump, readings stay as they are\n",
                         kXadcFile);
        garbledReported_ = true;
    }
}

}  // namespace systemstate
