#pragma once

#include <string>

namespace systemstate {

// The kind of card, from the product name that the frame wrote at boot. All tests except the one
// for the default controller ignore case. Never changes; any thread.
class Product {
  public:
    explicit Product(std::string name);

    const std::string& name() const { return name_; }

    bool isTessaraFrame() const;  // "Tessara" or "Tessara-5ru"
    bool isBrio() const;          // "QuoraneBrio"
    bool isKeli() const;          // "KELI"
    bool isQuorane() const;       // "Quorane", as written

    // Whether the name begins with "Tessara", which more names do than there are Tessara frames.
    bool isNamedTessara() const;

  private:
    bool is(const char* name) const;

    std::string name_;
};

class Machine;

// The product of this machine; "Quorane", and a line on standard output, when it names none.
Product readProduct(Machine& machine);

}  // namespace systemstate
