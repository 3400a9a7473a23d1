// A line is a kind of fault, then its modifiers in any order. kKinds says which operand and which
// modifiers a kind takes; kModifiers says which function reads each modifier. Completion uses the
// same parser: a keyword can come next if the line with it parses, or lacks only something after it
// (IncompleteFault).

#include "pallbus/faults/fault_parser.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

#include "cli/parse_number.h"
#include "cli/similar_words.h"
#include "cli/timed_script.h"

namespace pallbus::faults {

namespace {

using std::chrono::milliseconds;

constexpr int32_t kDaemonID = 8;  // the connection id that the daemon logs in with

// The operand that follows a kind without a keyword of its own.
enum class Operand { none, delay, messageCount, byteCount, duration };

// The modifiers that may follow a kind, each once and in any order.
constexpr unsigned kFrequency = 1;
constexpr unsigned kFrom = 2;
constexpr unsigned kTo = 4;
constexpr unsigned kClient = 8;
constexpr unsigned kObject = 16;
constexpr unsigned kFor = 32;
constexpr unsigned kMessages = kFrequency | kTo | kClient | kObject | kFor;

struct KindGrammar {
    std::string_view name;
    FaultKind kind;
    Operand operand;
    unsigned modifiers;
    std::string_view usage;  // the kind with its operand, for people
};

constexpr std::array<KindGrammar, 11> kKinds{{
    {"drop", FaultKind::drop, Operand::none, kMessages | kFrom, "drop"},
    {"delay", FaultKind::delay, Operand::delay, kMessages | kFrom, "delay TIME[-TIME]"},
    {"corrupt", FaultKind::corrupt, Operand::byteCount, kMessages | kFrom, "corrupt [BYTES]"},
    {"fragment", FaultKind::fragment, Operand::none, kMessages, "fragment"},
    {"coalesce", FaultKind::coalesce, Operand::messageCount, kMessages & ~kFrequency,
     "coalesce MESSAGES"},
    {"truncate", FaultKind::truncate, Operand::none, kMessages, "truncate"},
    {"close", FaultKind::close, Operand::none, kClient, "close"},
    {"refuse", FaultKind::refuse, Operand::duration, kFor, "refuse [TIME]"},
    {"blackhole", FaultKind::blackhole, Operand::duration, kClient | kFor, "blackhole [TIME]"},
    {"stall", FaultKind::stall, Operand::duration, kClient | kFor, "stall [TIME]"},
    {"clear", FaultKind::clear, Operand::none, 0, "clear"},
}};

constexpr size_t kMaxCount = 1'000'000;

// More words could complete the fault.
struct IncompleteFault : FaultSyntaxError {
    using FaultSyntaxError::FaultSyntaxError;
};

std::string quoted(std::string_view word) {
    return std::string("'").append(word).append("'");
}

bool isOnlyTowardsClients(const KindGrammar& kind) {
    return (kind.modifiers & (kFrom | kTo)) == kTo;
}

std::vector<std::string> kindNames() {
    std::vector<std::string> names;
    names.reserve(kKinds.size());
    for (const KindGrammar& kind : kKinds) {
        names.emplace_back(kind.name);
    }
    return names;
}

std::string listKinds() {
    std::string names;
    for (const std::string& name : kindNames()) {
        names.append(names.empty() ? "" : ", ").append(name);
    }
    return names + "; at TIME or after TIME may precede it";
}

// The keyword is the one that the value follows.
milliseconds parseTime(std::string_view keyword, const std::string& text) {
    const auto time = cli::script::parseDuration(text);
    if (!time) {
        throw FaultSyntaxError(std::string(keyword) + ": " + cli::script::invalidDuration(text));
    }
    return *time;
}

size_t parseCount(std::string_view keyword, const std::string& text, size_t min) {
    const auto count = cli::parseNumber<size_t>(text, min, kMaxCount);
    if (!count) {
        throw FaultSyntaxError(std::string(keyword) + ": invalid number " + quoted(text) +
                               "; use an integer from " + std::to_string(min) + " to " +
                               std::to_string(kMaxCount));
    }
    return *count;
}

// Takes the words of one rule off the front, one after the other.
class Parser {
  public:
    struct Modifier {
        std::string_view name;
        unsigned bit;
        void (*parse)(Parser& parser);
    };
    static const std::array<Modifier, 9> kModifiers;

    explicit Parser(std::span<const std::string> words) : words_(words) {}

    FaultRule parse() {
        kind_ = &parseKind();
        rule_.kind = kind_->kind;
        rule_.direction = isOnlyTowardsClients(*kind_) ? Direction::to : Direction::both;
        while (!words_.empty()) {
            parseWord(take());
        }
        return complete();
    }

  private:
    std::string take() {
        std::string word = words_.front();
        words_ = words_.subspan(1);
        rule_.text.words.append(rule_.text.words.empty() ? "" : " ").append(word);
        return word;
    }

    std::string takeAfter(std::string_view keyword, std::string_view what) {
        if (words_.empty()) {
            throw IncompleteFault(quoted(keyword).append(" needs ").append(what));
        }
        return take();
    }

    const KindGrammar& parseKind() {
        const std::string name = take();
        const auto* const kind = std::ranges::find(kKinds, name, &KindGrammar::name);
        if (kind == kKinds.end()) {
            const std::string similar = cli::suggest(name, kindNames());
            throw FaultSyntaxError("unknown fault " + quoted(name) +
                                   (similar.empty() ? "; choose from " + listKinds() : similar));
        }
        return *kind;
    }

    void parseWord(const std::string& word) {
        const auto* const modifier = std::ranges::find(kModifiers, word, &Modifier::name);
        if (modifier != kModifiers.end()) {
            expectOnce(modifier->bit, word);
            modifier->parse(*this);
        } else if (word.ends_with('%')) {
            expectOnce(kFrequency, word);
            parsePercent(word);
        } else {
            parseOperand(word);
        }
    }

    void rejectWord(std::string_view word) const {
        throw FaultSyntaxError(quoted(kind_->name) +
                               (kind_->modifiers == 0 ? " takes no words"
                                                      : " does not take " + quoted(word) +
                                                            cli::suggest(word, listModifiers())));
    }

    // Those that the kind takes.
    std::vector<std::string> listModifiers() const {
        std::vector<std::string> names;
        for (const Modifier& modifier : kModifiers) {
            if ((kind_->modifiers & modifier.bit) == modifier.bit) {
                names.emplace_back(modifier.name);
            }
        }
        return names;
    }

    void expectOnce(unsigned modifier, std::string_view word) {
        if ((kind_->modifiers & modifier) != modifier) {
            rejectWord(word);
        }
        if ((seen_ & modifier) != 0) {
            throw FaultSyntaxError(quoted(word) + " conflicts with an earlier word");
        }
        seen_ |= modifier;
    }

    // A direction includes its client, so that "from daemon to daemon" is a conflict.
    void parseDirection(Direction direction, std::string_view keyword) {
        rule_.direction = direction;
        const std::string client = takeAfter(keyword, "a client");
        expectOnce(kClient, client);
        if (client == "client") {
            parseClient();
        } else if (client == "daemon") {
            rule_.client = kDaemonID;
        } else if (client != "any") {
            throw FaultSyntaxError("unknown client " + quoted(client) +
                                   "; use daemon, client ID or any");
        }
    }

    void parseClient() {
        const std::string text = takeAfter("client", "a connection ID");
        constexpr auto kMax = std::numeric_limits<int32_t>::max();
        rule_.client = cli::parseNumber<int32_t>(text, -kMax - 1, kMax);
        if (!rule_.client) {
            throw FaultSyntaxError("invalid connection ID " + quoted(text));
        }
    }

    void parseObject() {
        const std::string name = takeAfter("object", "a name");
        if (std::ranges::any_of(name, [](unsigned char byte) { return byte < ' '; })) {
            throw FaultSyntaxError("the object name contains a control character");
        }
        std::string& text = rule_.text.words;
        text.replace(text.size() - name.size(), name.size(), cli::script::quoted(name));
        rule_.object = name;
    }

    void parseFrequency(Frequency frequency, std::string_view keyword) {
        rule_.frequency = frequency;
        rule_.number = parseCount(keyword, takeAfter(keyword, "a count"), 1);
    }

    void parseDuration() { rule_.duration = parseTime("for", takeAfter("for", "a time")); }

    void parsePercent(std::string_view text) {
        const auto percent = cli::parseNumber<double>(text.substr(0, text.size() - 1), 0, 100);
        if (!percent) {
            throw FaultSyntaxError("invalid percentage " + quoted(text) + "; use 0% to 100%");
        }
        rule_.frequency = Frequency::percent;
        rule_.percent = *percent;
    }

    void parseOperand(const std::string& text) {
        if (kind_->operand == Operand::none || operandSeen_) {
            rejectWord(text);
        }
        operandSeen_ = true;
        switch (kind_->operand) {
            case Operand::delay:
                parseDelay(text);
                break;
            case Operand::duration:
                expectOnce(kFor, text);
                rule_.duration = parseTime(kind_->name, text);
                rule_.text.words.insert(rule_.text.words.size() - text.size(), "for ");
                break;
            default:
                rule_.count =
                    parseCount(kind_->name, text, kind_->operand == Operand::messageCount ? 2 : 1);
        }
    }

    void parseDelay(const std::string& text) {
        const size_t dash = text.find('-');
        rule_.delayMin = parseTime(kind_->name, text.substr(0, dash));
        rule_.delayMax = dash == std::string::npos ? rule_.delayMin
                                                   : parseTime(kind_->name, text.substr(dash + 1));
        if (rule_.delayMax < rule_.delayMin) {
            throw FaultSyntaxError("invalid range " + quoted(text) +
                                   "; the shorter time comes first");
        }
    }

    FaultRule complete() {
        if (!operandSeen_ &&
            (kind_->operand == Operand::delay || kind_->operand == Operand::messageCount)) {
            throw IncompleteFault("incomplete fault; expected: " + std::string(kind_->usage));
        }
        if (rule_.kind == FaultKind::corrupt && !operandSeen_) {
            rule_.count = 1;
        }
        // A connection closes only once, unless the line says otherwise.
        if (rule_.kind == FaultKind::truncate && rule_.frequency == Frequency::always) {
            rule_.frequency = Frequency::next;
            rule_.number = 1;
        }
        return rule_;
    }

    std::span<const std::string> words_;
    const KindGrammar* kind_ = nullptr;
    FaultRule rule_;
    unsigned seen_ = 0;  // modifiers
    bool operandSeen_ = false;
};

const std::array<Parser::Modifier, 9> Parser::kModifiers{{
    {"from", kFrom, [](Parser& parser) { parser.parseDirection(Direction::from, "from"); }},
    {"to", kTo, [](Parser& parser) { parser.parseDirection(Direction::to, "to"); }},
    {"daemon", kClient, [](Parser& parser) { parser.rule_.client = kDaemonID; }},
    {"client", kClient, [](Parser& parser) { parser.parseClient(); }},
    {"any", kClient, [](Parser&) {}},
    {"object", kObject, [](Parser& parser) { parser.parseObject(); }},
    {"every", kFrequency, [](Parser& parser) { parser.parseFrequency(Frequency::every, "every"); }},
    {"next", kFrequency, [](Parser& parser) { parser.parseFrequency(Frequency::next, "next"); }},
    {"for", kFor, [](Parser& parser) { parser.parseDuration(); }},
}};

std::vector<std::string> allKeywords() {
    std::vector<std::string> words = kindNames();
    for (const Parser::Modifier& modifier : Parser::kModifiers) {
        words.emplace_back(modifier.name);
    }
    return words;
}

bool canFollow(std::span<const std::string> before, const std::string& word) {
    std::vector<std::string> words(before.begin(), before.end());
    words.push_back(word);
    try {
        parseFault(words);
    } catch (const IncompleteFault&) {
        return true;
    } catch (const FaultSyntaxError&) {
        return false;
    }
    return true;
}

}  // namespace

FaultRule parseFault(std::span<const std::string> words) {
    if (words.empty()) {
        throw FaultSyntaxError("missing fault");
    }
    return Parser(words).parse();
}

std::vector<std::string> nextKeywords(std::span<const std::string> words) {
    // Where any word is accepted, the user supplies it.
    if (canFollow(words, "?")) {
        return {};
    }
    std::vector<std::string> keywords = allKeywords();
    std::erase_if(keywords, [words](const std::string& word) { return !canFollow(words, word); });
    return keywords;
}

}  // namespace pallbus::faults
