#include "program/timed_script.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numeric>
#include <utility>

namespace script {

namespace {

using std::chrono::milliseconds;
using Words = std::vector<std::string>;

// What is wrong with a line, before it is known which one it is.
struct Problem : std::runtime_error {
    using std::runtime_error::runtime_error;
};

bool isBlank(char sign) {
    return sign == ' ' || sign == '\t' || sign == '\r';
}

// Takes one line apart; `text` is what is still to be read.
class Splitter {
  public:
    explicit Splitter(std::string_view text) : text_(text) {}

    Words words() {
        Words words;
        for (skipBlanks(); !text_.empty() && text_[0] != '#'; skipBlanks()) {
            words.push_back(word());
        }
        return words;
    }

  private:
    void skipBlanks() {
        while (!text_.empty() && isBlank(text_[0])) {
            text_.remove_prefix(1);
        }
    }

    char take() {
        const char sign = text_[0];
        text_.remove_prefix(1);
        return sign;
    }

    std::string word() {
        std::string word;
        while (!text_.empty() && !isBlank(text_[0])) {
            const char sign = take();
            if (sign == '\'' || sign == '"') {
                takeQuoted(word, sign);
            } else {
                word += sign;
            }
        }
        return word;
    }

    void takeQuoted(std::string& word, char quote) {
        while (!text_.empty()) {
            char sign = take();
            if (sign == quote) {
                return;
            }
            if (sign == '\\' && quote == '"' && !text_.empty()) {
                sign = take();
            }
            word += sign;
        }
        throw Problem(std::string("the quote ") + quote + " has no end");
    }

    std::string_view text_;
};

milliseconds durationOf(const std::string& word) {
    const auto duration = parseDuration(word);
    if (!duration) {
        throw Problem("'" + word + "' is no time: write 500ms, 2s or 3m, up to 24 hours");
    }
    return *duration;
}

size_t countOf(const Words& words) {
    size_t count = 0;
    if (words.size() == 2) {
        const std::string& text = words[1];
        const char* end = text.data() + text.size();
        if (std::from_chars(text.data(), end, count).ptr != end) {
            count = 0;
        }
    }
    if (count == 0) {
        throw Problem("repeat needs one number, 1 or more");
    }
    return count;
}

void requireInTime(milliseconds time) {
    if (time > kLongest) {
        throw Problem("the script takes more than 24 hours");
    }
}

// Lines that are done one after the other, once or several times; times count from its start.
struct Block {
    size_t count;
    int number;  // where it begins
    milliseconds now{};
    std::vector<Line> lines{};
    size_t text = 0;  // bytes of all words, each with one that parts it from the next
};

size_t textOf(const Words& words) {
    return std::accumulate(words.begin(), words.end(), words.size(),
                           [](size_t sum, const std::string& word) { return sum + word.size(); });
}

// Adds all passes of a block that ended to the one around it.
void writeOut(const Block& inner, Block& outer) {
    if (inner.lines.empty()) {
        throw Problem("nothing to repeat since line " + std::to_string(inner.number));
    }
    const size_t left = kMostText - std::min(kMostText, outer.text);
    if (inner.count > left / inner.text) {
        throw Problem("written out, the repetitions make more than 1 MiB");
    }
    outer.text += inner.count * inner.text;
    for (size_t pass = 0; pass < inner.count; ++pass) {
        for (Line line : inner.lines) {
            line.at += outer.now;
            outer.lines.push_back(std::move(line));
        }
        outer.now += inner.now;
        requireInTime(outer.now);
    }
}

class Reader {
  public:
    void take(Words words, int number) {
        takeTime(words);
        if (words[0] == "repeat") {
            open(countOf(words), number);
        } else if (words[0] == "end") {
            close(words);
        } else {
            block().text += textOf(words);
            block().lines.push_back({block().now, std::move(words), number});
        }
    }

    // The line of the repetition that has no end; 0 when there is none.
    int openSince() const { return blocks_.back().number; }

    std::vector<Line> lines() && { return std::move(blocks_.front().lines); }

  private:
    Block& block() { return blocks_.back(); }

    // Takes "at" or "after" and the time off the words and sets the clock.
    void takeTime(Words& words) {
        if (words[0] != "at" && words[0] != "after") {
            return;
        }
        if (words.size() < 3) {
            throw Problem("'" + words[0] + "' needs a time and something to do");
        }
        const milliseconds from = words[0] == "at" ? milliseconds{} : block().now;
        const milliseconds time = from + durationOf(words[1]);
        if (time < block().now) {
            throw Problem("'at " + words[1] + "' is earlier than the line before");
        }
        requireInTime(time);
        block().now = time;
        words.erase(words.begin(), words.begin() + 2);
    }

    void open(size_t count, int number) {
        if (blocks_.size() > kDeepest) {
            throw Problem("more than " + std::to_string(kDeepest) + " repetitions in one another");
        }
        blocks_.push_back({count, number});
    }

    void close(const Words& words) {
        if (words.size() > 1) {
            throw Problem("nothing may stand behind 'end'");
        }
        if (blocks_.size() == 1) {
            throw Problem("'end' without 'repeat'");
        }
        const Block inner = std::move(block());
        blocks_.pop_back();
        writeOut(inner, block());
    }

    std::vector<Block> blocks_{Block{1, 0}};  // the script itself, then the open repetitions
};

std::string_view takeLine(std::string_view& text) {
    const size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return line;
}

void readLine(Reader& reader, std::string_view line, int number) {
    if (line.find('\0') != std::string_view::npos) {
        throw Problem("a zero byte: this is no text");
    }
    Words words = Splitter(line).words();
    if (!words.empty()) {
        reader.take(std::move(words), number);
    }
}

struct Unit {
    std::string_view name;
    double milliseconds;
};

constexpr std::array<Unit, 3> kUnits{{{"ms", 1}, {"s", 1000}, {"m", 60'000}}};

}  // namespace

Error::Error(std::string_view name, int number, std::string_view problem)
    : std::runtime_error(std::string(name)
                             .append(":")
                             .append(std::to_string(number))
                             .append(": ")
                             .append(problem)) {}

std::vector<Line> parse(std::string_view text, std::string_view name) {
    if (text.size() > kMostText) {
        throw Error(name, 1, "the script has more than 1 MiB");
    }
    Reader reader;
    int number = 0;
    while (!text.empty()) {
        ++number;
        try {
            readLine(reader, takeLine(text), number);
        } catch (const Problem& problem) {
            throw Error(name, number, problem.what());
        }
    }
    if (reader.openSince() != 0) {
        throw Error(name, reader.openSince(), "'repeat' without 'end'");
    }
    return std::move(reader).lines();
}

std::optional<milliseconds> parseDuration(std::string_view text) {
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value, std::chars_format::fixed);
    const std::string_view name(rest, static_cast<size_t>(end - rest));
    const auto* unit = std::find_if(kUnits.begin(), kUnits.end(),
                                    [name](const Unit& one) { return one.name == name; });
    // Also not for "nan" and "inf", which from_chars takes for numbers.
    if (error != std::errc() || unit == kUnits.end() || !(value >= 0) ||
        value * unit->milliseconds > milliseconds(kLongest).count()) {
        return std::nullopt;
    }
    return milliseconds(std::llround(value * unit->milliseconds));
}

std::optional<milliseconds> parseTimeOption(std::string_view text) {
    const bool isBare = !text.empty() && text.back() >= '0' && text.back() <= '9';
    return parseDuration(std::string(text) + (isBare ? "s" : ""));
}

}  // namespace script
