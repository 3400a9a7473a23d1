#pragma once

#include <string>
#include <vector>

namespace outside {

// An entry of a man page: its heading without marks ("--port PORT", "set NAME=VALUE...") and the
// entries that stand indented below it.
struct Entry {
    std::string head;
    std::vector<Entry> below;
};

// A page, read from its source in doc/man.
class ManPage {
  public:
    // `name` is such as "pallctl.1"; throws when there is no such page.
    explicit ManPage(const std::string& name);

    // The entries of a section such as "OPTIONS", none when there is no such section.
    std::vector<Entry> entries(const std::string& name) const;

    // Every "--word" in it, wherever it stands.
    std::vector<std::string> longOptions() const;

    // The commands of its examples.
    std::vector<std::string> examples() const;

  private:
    std::vector<std::string> section(const std::string& name) const;

    std::vector<std::string> lines_;
};

}  // namespace outside
