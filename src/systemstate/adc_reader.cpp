#include "systemstate/adc_reader.h"

#include <cstdio>
#include <optional>
#include <string>

#include "model/log.h"
#include "systemstate/machine.h"
#include "systemstate/places.h"

AdcReader::AdcReader(const Machine& machine) : machine_(machine) {}

void AdcReader::read(BatterySource source) {
    const std::optional<std::string> dump = machine_.readFile(kXadcFile);
    if (!dump) {
        std::perror("open xadc");
        return;
    }
    if (dump->size() < kXadcDumpSize) {
        std::fputs("xadc read too small\n", stderr);
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
        logMessage(LOG_ERR, "%s holds no register dump, readings stay as they are\n", kXadcFile);
        garbledReported_ = true;
    }
}
