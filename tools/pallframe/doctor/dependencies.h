#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace systemstate {
class Product;
}  // namespace systemstate

namespace pallframe::doctor {

// What a check looks for.
enum class Kind {
    file,       // exists, and its text can be decoded
    program,    // exists and is executable
    directory,  // exists and is writable
    optional,   // may exist; the effect is that of its presence
    marker,     // the same, for the switch of a service, which may also have been saved
    settings,   // the state file with its older copy
    unit,       // a systemd unit that is installed
    listener,   // an address that a program listens on
    syslog,     // a socket that a log daemon reads
    device,     // a character device
};

// A parameter and what is published for it, as JSON; empty when the value is not known in advance.
struct Published {
    std::string_view name{};  // without "system."
    std::string_view value{};
};

// Something of the frame that the daemon depends on, and what becomes of it without that.
struct Check {
    // What the daemon has: a path, or commands that begin with the program. The first names it.
    std::array<const char*, 4> places;
    Kind kind;
    bool (*concerns)(const systemstate::Product& product);
    std::string_view effect;  // what a daemon that starts without it does, beyond its parameters
    // A file's text says what it has to; null: any text does.
    bool (*decodes)(const std::string& text, const systemstate::Product& product) = nullptr;
    size_t word = 0;      // which word of the commands names it
    bool isSure = false;  // the same is published without a file and with one that says nothing
};

// All of them, in the order in which a person wants to read them.
std::span<const Check> checks();

// What a daemon that starts without the check's places publishes of the parameters that depend on
// them, in the order of the catalogue.
std::vector<Published> dependentParameters(const Check& check);

// The one that finds the product.
const Check& productCheck();

// What the card says that it is (PRODUCT in the text of that check's file, which a shell
// reads); empty when it says nothing.
std::string productNamed(const std::string& text);

// The path, the address, or the name of a program or a unit that a check looks for.
std::string extractPath(const Check& check);

}  // namespace pallframe::doctor
