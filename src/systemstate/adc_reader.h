#pragma once

#include "systemstate/adc_samples.h"

namespace systemstate {

class Machine;

// The samples of the on-chip converter, carried from read to read. They begin as zeros. Owned by
// the status poll, poll thread only.
class AdcReader {
  public:
    // Keeps `machine`.
    explicit AdcReader(const Machine& machine);

    // Reads the register dump once and takes its readings into the samples. A dump that is missing
    // or too short is reported on standard error, one with a register without digits is logged once
    // until a usable one came. Neither touches the samples.
    void read(BatterySource source);

    const AdcSamples& samples() const { return samples_; }

  private:
    void reportGarbled();

    const Machine& machine_;
    AdcSamples samples_;
    Filtering filtering_ = Filtering::first;
    bool garbledReported_ = false;
};

}  // namespace systemstate
