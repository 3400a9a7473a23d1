#include "trouble/trouble.h"

#include <algorithm>
#include <set>

#include "bus/tarn_internal_header.h"
#include "trouble/words.h"

namespace pallbus {

namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;

bool isAbout(const std::string& objectName, const std::string& object) {
    return objectName == object || object.empty() || objectName.starts_with(object + ".");
}

bool isOf(const Rule& rule, std::optional<int32_t> client) {
    return !rule.client || rule.client == client;
}

bool befallsMessages(Kind kind) {
    return kind != Kind::refuse && kind != Kind::stopReading && kind != Kind::close;
}

// The name is read once, and only when some trouble asks for it.
class LazyName {
  public:
    explicit LazyName(std::string_view message) : message_(message) {}

    bool isAbout(const std::string& object) {
        if (!read_) {
            name_ = objectNameOf(message_);
            read_ = true;
        }
        return name_ && pallbus::isAbout(*name_, object);
    }

  private:
    std::string_view message_;
    std::optional<std::string> name_;
    bool read_ = false;
};

}  // namespace

std::optional<std::string> objectNameOf(std::string_view message) {
    const size_t begin = message.find('[');
    const size_t end = message.find('\n');
    if (begin == std::string_view::npos || end == std::string_view::npos || end < begin) {
        return std::nullopt;
    }
    const std::string line(message.substr(begin, end - begin));
    const auto header = decodeHeader(line.c_str(), timespec{});
    return header ? std::optional(header->objectName) : std::nullopt;
}

void Trouble::begin(const Rule& rule, Clock::time_point now) {
    std::erase_if(active_, [&rule](const Active& each) { return each.rule == rule; });
    active_.push_back({rule, rule.time ? std::optional(now + *rule.time) : std::nullopt, newest_});
}

void Trouble::endDue(Clock::time_point now) {
    std::erase_if(active_, [now](const Active& each) { return each.end && *each.end <= now; });
}

std::optional<Trouble::Clock::time_point> Trouble::nextEnd() const {
    std::optional<Clock::time_point> next;
    for (const Active& each : active_) {
        if (each.end && (!next || *each.end < *next)) {
            next = each.end;
        }
    }
    return next;
}

bool Trouble::refuses() const {
    return std::ranges::any_of(active_,
                               [](const Active& each) { return each.rule.kind == Kind::refuse; });
}

bool Trouble::reads(std::optional<int32_t> client) const {
    return std::ranges::none_of(active_, [client](const Active& each) {
        return each.rule.kind == Kind::stopReading && isOf(each.rule, client);
    });
}

Fate Trouble::meet(const Passage& passage) {
    Fate fate;
    LazyName name(passage.message);
    for (Active& each : active_) {
        if (concerns(each, passage) && (!each.rule.object || name.isAbout(*each.rule.object)) &&
            befalls(each)) {
            apply(each.rule, fate);
        }
        if (fate.lost) {
            break;  // what is lost meets nothing more
        }
    }
    std::erase_if(active_, [](const Active& each) { return each.spent; });
    return fate;
}

// But for the object, which costs more to know.
bool Trouble::concerns(const Active& active, const Passage& passage) {
    const Rule& rule = active.rule;
    return befallsMessages(rule.kind) && isOf(rule, passage.client) &&
           (rule.direction == Direction::both || rule.direction == passage.direction) &&
           (rule.kind != Kind::silent || passage.connection <= active.newest);
}

bool Trouble::befalls(Active& active) {
    const Rule& rule = active.rule;
    ++active.met;
    switch (rule.often) {
        case Often::each:
            break;
        case Often::percent:
            if (std::uniform_real_distribution<double>(0, 100)(random_) >= rule.percent) {
                return false;
            }
            break;
        case Often::every:
            if (active.met % rule.number != 0) {
                return false;
            }
            break;
        case Often::next:
            active.spent = active.met >= rule.number;
            break;
    }
    ++active.befallen;
    return true;
}

void Trouble::apply(const Rule& rule, Fate& fate) {
    switch (rule.kind) {
        case Kind::drop:
        case Kind::silent:
            fate.lost = true;
            break;
        case Kind::delay:
            fate.delay += milliseconds(std::uniform_int_distribution<milliseconds::rep>(
                rule.delayLeast.count(), rule.delayMost.count())(random_));
            break;
        case Kind::corrupt:
            fate.corrupted += rule.count;
            break;
        case Kind::split:
            fate.split = true;
            break;
        case Kind::join:
            fate.joined = rule.count;
            break;
        case Kind::cut:
            fate.cut = true;
            break;
        case Kind::close:
        case Kind::refuse:
        case Kind::stopReading:
            break;
    }
}

void Trouble::corrupt(std::span<char> bytes, size_t count) {
    std::set<size_t> places;
    while (places.size() < std::min(count, bytes.size())) {
        places.insert(std::uniform_int_distribution<size_t>(0, bytes.size() - 1)(random_));
    }
    for (const size_t place : places) {
        const int other = std::uniform_int_distribution<int>(1, 255)(random_);
        bytes[place] = static_cast<char>(bytes[place] ^ other);
    }
}

std::vector<std::string> Trouble::show(Clock::time_point now) const {
    std::vector<std::string> lines;
    for (const Active& each : active_) {
        std::string notes;
        if (befallsMessages(each.rule.kind)) {
            notes = " befell " + std::to_string(each.befallen) + " of " + std::to_string(each.met) +
                    " messages";
        }
        if (each.end) {
            notes += " " + std::to_string(duration_cast<milliseconds>(*each.end - now).count()) +
                     "ms left";
        }
        lines.push_back(textOf(each.rule) + (notes.empty() ? "" : "  #" + notes));
    }
    return lines;
}

}  // namespace pallbus
