#pragma once

namespace systemstate {

class AdcReader;
class Machine;
class ParameterStore;
class Product;

// Samples the battery on one tick in 151: switches a load on, waits until the voltage has settled,
// reads the converter, switches the load off and publishes the voltage. Owned by the status poll,
// poll thread only.
class BatterySampling {
  public:
    // Keeps all of them.
    BatterySampling(Machine& machine, const Product& product, ParameterStore& parameters);

    // Reads the converter once, as part of a sample when the tick is the battery's.
    void read(AdcReader& adc);
    // The tick is complete.
    void advance();

  private:
    void switchLoad(const char* command);
    void publish(const AdcReader& adc);

    Machine& machine_;
    const Product& product_;
    ParameterStore& parameters_;
    int cycle_ = 0;  // 0 to 150; the battery is sampled at 0
};

}  // namespace systemstate
