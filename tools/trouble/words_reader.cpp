#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

#include "program/number.h"
#include "program/timed_script.h"
#include "trouble/vocabulary.h"
#include "trouble/words.h"

namespace pallbus {

namespace {

using namespace vocabulary;
using std::chrono::milliseconds;

constexpr size_t kMostCount = 1'000'000;

// What is wrong with words that something may still be added to.
struct Incomplete : BadTrouble {
    using BadTrouble::BadTrouble;
};

std::string quoted(std::string_view word) {
    return std::string("'").append(word).append("'");
}

bool isOnlyTo(const Word& word) {
    return (word.takes & (kFrom | kTo)) == kTo;
}

Incomplete somethingMissing(const Word& word) {
    return Incomplete("something is missing: " + std::string(word.form));
}

std::string allNames() {
    std::string names;
    for (const Word& word : kWords) {
        names.append(word.name).append(", ");
    }
    return names.append(kCalm).append("; before it at TIME or after TIME");
}

// Takes the words of one rule off their front, one after the other.
class Reader {
  public:
    struct Part {
        std::string_view name;
        unsigned takes;
        void (Reader::*read)();
    };
    static const std::array<Part, 9> kParts;

    explicit Reader(std::span<const std::string> words) : words_(words) {}

    Rule read() {
        word_ = &takeKind();
        rule_.kind = word_->kind;
        rule_.direction = isOnlyTo(*word_) ? Direction::to : Direction::both;
        while (!words_.empty()) {
            takePart(take());
        }
        return completed();
    }

  private:
    std::string take() {
        std::string word = words_.front();
        words_ = words_.subspan(1);
        return word;
    }

    std::string takeBehind(std::string_view name) {
        if (words_.empty()) {
            throw Incomplete("nothing stands behind " + quoted(name));
        }
        return take();
    }

    const Word& takeKind() {
        const std::string first = take();
        const std::string both = words_.empty() ? first : first + " " + words_.front();
        for (const Word& word : kWords) {
            if (word.name == both && both != first) {
                take();
                return word;
            }
            if (word.name == first) {
                return word;
            }
        }
        for (const Word& word : kWords) {
            if (words_.empty() && word.name.starts_with(first + " ")) {
                throw somethingMissing(word);
            }
        }
        throw BadTrouble(quoted(first) + " is no trouble: " + allNames());
    }

    void takePart(const std::string& text) {
        const auto part = std::ranges::find(kParts, text, &Part::name);
        if (part != kParts.end()) {
            once(part->takes, text);
            (this->*part->read)();
        } else if (text.ends_with('%')) {
            once(kOften, text);
            takePercent(text);
        } else {
            takeOperand(text);
        }
    }

    // `what` may stand behind the kind, and has not yet.
    void once(unsigned what, const std::string& text) {
        if ((word_->takes & what) != what) {
            throw BadTrouble(quoted(word_->name) + " takes no " + quoted(text));
        }
        if ((seen_ & what) != 0) {
            throw BadTrouble(quoted(text) + " comes after another of its kind");
        }
        seen_ |= what;
    }

    void takeFrom() { takeDirection(Direction::from, "from"); }
    void takeTo() { takeDirection(Direction::to, "to"); }

    // Which way and who exclude each other's repetition: "from daemon to daemon" says nothing.
    void takeDirection(Direction direction, std::string_view name) {
        rule_.direction = direction;
        const std::string who = takeBehind(name);
        once(kWho, who);
        if (who == "client") {
            takeClient();
        } else if (who == "daemon") {
            takeDaemon();
        } else if (who != "anyone") {
            throw BadTrouble(quoted(who) + " is nobody: daemon, client NUMBER, anyone");
        }
    }

    void takeAnyone() {}
    void takeDaemon() { rule_.client = kDaemon; }

    void takeClient() {
        const std::string text = takeBehind("client");
        constexpr auto kMost = std::numeric_limits<int32_t>::max();
        rule_.client = numberIn<int32_t>(text, -kMost - 1, kMost);
        if (!rule_.client) {
            throw BadTrouble(quoted(text) + " is no connection id");
        }
    }

    void takeObject() {
        const std::string name = takeBehind("object");
        if (std::ranges::any_of(name, [](unsigned char sign) { return sign < ' '; })) {
            throw BadTrouble("the name of an object has no control characters");
        }
        rule_.object = name;
    }

    void takeEvery() { takeNumber(Often::every, "every"); }
    void takeNext() { takeNumber(Often::next, "next"); }

    void takeNumber(Often often, std::string_view name) {
        rule_.often = often;
        rule_.number = countOf(takeBehind(name), 1);
    }

    void takeFor() { rule_.time = timeOf(takeBehind("for")); }

    void takePercent(std::string_view text) {
        const auto percent = numberIn<double>(text.substr(0, text.size() - 1), 0, 100);
        if (!percent) {
            throw BadTrouble(quoted(text) + " is no share: 0% to 100%");
        }
        rule_.often = Often::percent;
        rule_.percent = *percent;
    }

    void takeOperand(const std::string& text) {
        if (word_->operand == Operand::none || operandSeen_) {
            throw BadTrouble(quoted(word_->name) + " takes no " + quoted(text));
        }
        operandSeen_ = true;
        switch (word_->operand) {
            case Operand::delay:
                takeDelay(text);
                break;
            case Operand::time:
                once(kFor, text);
                rule_.time = timeOf(text);
                break;
            default:
                rule_.count = countOf(text, word_->operand == Operand::joined ? 2 : 1);
        }
    }

    void takeDelay(const std::string& text) {
        const size_t dash = text.find('-');
        rule_.delayLeast = timeOf(text.substr(0, dash));
        rule_.delayMost =
            dash == std::string::npos ? rule_.delayLeast : timeOf(text.substr(dash + 1));
        if (rule_.delayMost < rule_.delayLeast) {
            throw BadTrouble(quoted(text) + " ends before it begins");
        }
    }

    static milliseconds timeOf(const std::string& text) {
        const auto time = script::parseDuration(text);
        if (!time) {
            throw BadTrouble(quoted(text).append(script::kNoDuration));
        }
        return *time;
    }

    static size_t countOf(const std::string& text, size_t least) {
        const auto count = numberIn<size_t>(text, least, kMostCount);
        if (!count) {
            throw BadTrouble(quoted(text) + " is no number from " + std::to_string(least) + " to " +
                             std::to_string(kMostCount));
        }
        return *count;
    }

    Rule completed() {
        if (!operandSeen_ &&
            (word_->operand == Operand::delay || word_->operand == Operand::joined)) {
            throw somethingMissing(*word_);
        }
        if (rule_.kind == Kind::corrupt && !operandSeen_) {
            rule_.count = 1;
        }
        // A connection ends once, unless it is said otherwise.
        if (rule_.kind == Kind::cut && rule_.often == Often::each) {
            rule_.often = Often::next;
            rule_.number = 1;
        }
        return rule_;
    }

    std::span<const std::string> words_;
    const Word* word_ = nullptr;
    Rule rule_;
    unsigned seen_ = 0;
    bool operandSeen_ = false;
};

const std::array<Reader::Part, 9> Reader::kParts{{
    {"from", kFrom, &Reader::takeFrom},
    {"to", kTo, &Reader::takeTo},
    {"daemon", kWho, &Reader::takeDaemon},
    {"client", kWho, &Reader::takeClient},
    {"anyone", kWho, &Reader::takeAnyone},
    {"object", kObject, &Reader::takeObject},
    {"every", kOften, &Reader::takeEvery},
    {"next", kOften, &Reader::takeNext},
    {"for", kFor, &Reader::takeFor},
}};

// Every word that this language has of its own.
std::vector<std::string> allWords() {
    std::vector<std::string> words;
    const auto add = [&words](std::string_view word) {
        if (std::ranges::find(words, word) == words.end()) {
            words.emplace_back(word);
        }
    };
    for (const Word& word : kWords) {
        const size_t blank = word.name.find(' ');
        add(word.name.substr(0, blank));
        if (blank != std::string_view::npos) {
            add(word.name.substr(blank + 1));
        }
    }
    for (const Reader::Part& part : Reader::kParts) {
        add(part.name);
    }
    add(kCalm);
    return words;
}

bool mayFollow(std::span<const std::string> before, const std::string& word) {
    std::vector<std::string> words(before.begin(), before.end());
    words.push_back(word);
    try {
        parseOrder(words);
    } catch (const Incomplete&) {
        return true;
    } catch (const BadTrouble&) {
        return false;
    }
    return true;
}

}  // namespace

Order parseOrder(std::span<const std::string> words) {
    if (words.empty()) {
        throw BadTrouble("nothing to do");
    }
    if (words.front() != kCalm) {
        return Reader(words).read();
    }
    if (words.size() > 1) {
        throw BadTrouble("nothing may stand behind 'calm'");
    }
    return Calm{};
}

std::vector<std::string> wordsBehind(std::span<const std::string> before) {
    // Where any word may stand, it is not one of this language.
    if (mayFollow(before, "?")) {
        return {};
    }
    std::vector<std::string> words = allWords();
    std::erase_if(words, [before](const std::string& word) { return !mayFollow(before, word); });
    return words;
}

}  // namespace pallbus
