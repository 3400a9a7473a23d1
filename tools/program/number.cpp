#include "program/number.h"

#include <charconv>
#include <string>

CLI::Validator wholeNumber(uint64_t most) {
    const auto complaint = [most](const std::string& text) {
        uint64_t number = 0;
        const char* const last = text.data() + text.size();
        const auto [end, error] = std::from_chars(text.data(), last, number);
        const bool isGood = error == std::errc() && end == last && number <= most;
        return isGood ? std::string()
                      : "'" + text + "' is no whole number from 0 to " + std::to_string(most);
    };
    return {complaint, ""};
}

CLI::Validator portNumber() {
    return wholeNumber(std::numeric_limits<uint16_t>::max());
}
