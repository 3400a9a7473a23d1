// A script is parsed line by line: split into words, a leading time taken off, the rest kept in the
// innermost open block. A block holds its lines with times from its own start; at "end" its passes
// are written out into the block around it, within the limits for size and duration.

#include "cli/timed_script.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <numeric>
#include <utility>

#include "cli/parse_number.h"
#include "util/files.h"
#include "util/text.h"

namespace cli::script {

namespace {

using std::chrono::milliseconds;
using Words = std::vector<std::string>;

// An error in a line, before its number is known.
struct Problem : std::runtime_error {
    using std::runtime_error::runtime_error;
};

bool isBlank(char sign) {
    return sign == ' ' || sign == '\t' || sign == '\r';
}

// Splits one line; `text_` is the rest.
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

milliseconds requireDuration(const std::string& word) {
    const auto duration = parseDuration(word);
    if (!duration) {
        throw Problem(invalidDuration(word));
    }
    return *duration;
}

uint64_t requireCount(const Words& words) {
    const auto count = words.size() == 2 ? parseNumber<uint64_t>(words[1]) : std::nullopt;
    if (count.value_or(0) == 0) {
        throw Problem("repeat needs one number, 1 or more");
    }
    return *count;
}

void requireInTime(milliseconds time) {
    if (time > kMaxDuration) {
        throw Problem("the script takes more than 24 hours");
    }
}

// Lines that are done one after the other, once or several times; times count from its start.
struct Block {
    uint64_t count;
    int number;  // where it begins
    milliseconds now{};
    std::vector<Line> lines{};
    size_t text = 0;  // bytes of all words, each with one that parts it from the next
};

size_t countTextBytes(const Words& words) {
    return std::accumulate(words.begin(), words.end(), words.size(),
                           [](size_t sum, const std::string& word) { return sum + word.size(); });
}

// Adds all passes of a block that ended to the one around it.
void writeOut(const Block& inner, Block& outer) {
    const size_t left = kMaxScriptBytes - std::min(kMaxScriptBytes, outer.text);
    if (inner.count > left / inner.text) {
        throw Problem("written out, the repetitions make more than 1 MiB");
    }
    requireInTime(outer.now + inner.now * static_cast<milliseconds::rep>(inner.count));
    outer.text += static_cast<size_t>(inner.count) * inner.text;
    for (uint64_t pass = 0; pass < inner.count; ++pass) {
        for (Line line : inner.lines) {
            line.at += outer.now;
            outer.lines.push_back(std::move(line));
        }
        outer.now += inner.now;
    }
}

Words splitWords(std::string_view line) {
    if (line.find('\0') != std::string_view::npos) {
        throw Problem("not a text: it contains a zero byte");
    }
    return Splitter(line).words();
}

// Continues after an error as if only that part of the line were missing, so that one mistake is
// one problem.
class Reader {
  public:
    explicit Reader(Errors& errors) : errors_(errors) {}

    void take(std::string_view line, int number) {
        Words words;
        attempt(number, [&] { words = splitWords(line); });
        attempt(number, [&] { takeTime(words); });
        if (!words.empty()) {
            attempt(number, [&] { takeWords(std::move(words), number); });
        }
    }

    std::vector<Line> lines() && {
        while (blocks_.size() > 1) {
            errors_.add(block().number, "'repeat' without 'end'");
            attempt(block().number, [this] { close(); });
        }
        return std::move(blocks_.front().lines);
    }

  private:
    Block& block() { return blocks_.back(); }

    template <typename Work>
    void attempt(int number, Work work) {
        try {
            work();
        } catch (const Problem& problem) {
            errors_.add(number, problem.what());
        }
    }

    // Takes "at" or "after" and the time off the words and sets the clock.
    void takeTime(Words& words) {
        if (words.empty() || (words[0] != "at" && words[0] != "after")) {
            return;
        }
        const Words taken(words.begin(), words.begin() + std::min<ptrdiff_t>(2, std::ssize(words)));
        words.erase(words.begin(), words.begin() + std::ssize(taken));
        if (words.empty()) {
            throw Problem("'" + taken[0] + "' needs a time and a command");
        }
        const milliseconds from = taken[0] == "at" ? milliseconds{} : block().now;
        const milliseconds time = from + requireDuration(taken[1]);
        if (time < block().now) {
            throw Problem("'at " + taken[1] + "' is earlier than the line before");
        }
        requireInTime(time);
        block().now = time;
    }

    void takeWords(Words words, int number) {
        if (words[0] == "repeat") {
            open(words, number);
        } else if (words[0] == "end") {
            end(words);
        } else {
            block().text += countTextBytes(words);
            block().lines.push_back({block().now, std::move(words), number});
        }
    }

    void open(const Words& words, int number) {
        blocks_.push_back({1, number});
        if (blocks_.size() > kMaxRepeatDepth + 1) {
            throw Problem("more than " + std::to_string(kMaxRepeatDepth) +
                          " repetitions in one another");
        }
        block().count = requireCount(words);
    }

    void end(const Words& words) {
        if (blocks_.size() == 1) {
            throw Problem("'end' without 'repeat'");
        }
        close();
        if (words.size() > 1) {
            throw Problem("nothing may follow 'end'");
        }
    }

    void close() {
        const Block inner = std::move(block());
        blocks_.pop_back();
        if (!inner.lines.empty()) {
            writeOut(inner, block());
        } else if (!errors_.hasAfter(inner.number)) {
            throw Problem("nothing to repeat since line " + std::to_string(inner.number));
        }
    }

    Errors& errors_;
    std::vector<Block> blocks_{Block{1, 0}};  // the script itself, then the open repetitions
};

struct Unit {
    std::string_view name;
    double milliseconds;
};

constexpr std::array<Unit, 5> kUnits{
    {{"", 1000}, {"ms", 1}, {"s", 1000}, {"m", 60'000}, {"h", 3'600'000}}};

}  // namespace

std::vector<Line> parse(std::string_view text, std::string_view name) {
    Errors errors(name);
    std::vector<Line> lines = parse(text, errors);
    errors.throwFirst();
    return lines;
}

std::vector<Line> parse(std::string_view text, Errors& errors) {
    if (text.size() > kMaxScriptBytes) {
        errors.add(1, "the script has more than 1 MiB");
        return {};
    }
    Reader reader(errors);
    for (int number = 1; !text.empty(); ++number) {
        reader.take(util::takeLine(text), number);
    }
    return std::move(reader).lines();
}

std::string readFile(const std::string& path) {
    const util::UniqueDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string text;
    ssize_t size = file.get() < 0 ? -1 : 1;
    for (std::array<char, 4096> chunk; size > 0;) {
        size = ::read(file.get(), chunk.data(), chunk.size());
        text.append(chunk.data(), static_cast<size_t>(std::max<ssize_t>(size, 0)));
    }
    if (size < 0) {
        throw Error("cannot read " + path + ": " + std::strerror(errno));
    }
    return text;
}

std::string quoted(std::string_view word) {
    std::string text = "\"";
    for (const char sign : word) {
        text += sign == '"' || sign == '\\' ? "\\" : "";
        text += sign;
    }
    return text + '"';
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
        value * unit->milliseconds > milliseconds(kMaxDuration).count()) {
        return std::nullopt;
    }
    return milliseconds(std::llround(value * unit->milliseconds));
}

std::string invalidDuration(std::string_view text) {
    return std::string("invalid duration '")
        .append(text)
        .append("'; use 500ms, 2s, 3m or 1h, up to 24 hours");
}

}  // namespace cli::script
