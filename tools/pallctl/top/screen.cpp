// A thin layer over curses: tables map styles to colours and keys to meanings. What is drawn comes
// from ScreenContent.

#include "pallctl/top/screen.h"

// Without its macros, some of which have the names of everyday functions.
#define NCURSES_NOMACROS
#define NCURSES_WIDECHAR 1
#include <curses.h>
#include <term.h>
// Capabilities of the terminal there, members of other types here.
#undef lines
#undef tab
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <cwchar>
#include <optional>
#include <string>

#include "cli/command.h"

namespace pallctl::top {

namespace {

// Long enough for the bytes that a key sends after its escape character, too short to notice.
constexpr int kEscapeMilliseconds = 25;

constexpr short kDefaultColour = -1;

struct Look {
    Style style;
    attr_t attributes;
    short colour;  // of the text; the background stays the terminal's own
};

constexpr std::array<Look, 10> kLooks{{
    {Style::plain, A_NORMAL, kDefaultColour},
    {Style::title, A_REVERSE | A_BOLD, kDefaultColour},
    {Style::heading, A_BOLD, COLOR_CYAN},
    {Style::dim, A_DIM, kDefaultColour},
    {Style::changed, A_BOLD, COLOR_YELLOW},
    {Style::good, A_BOLD, COLOR_GREEN},
    {Style::bad, A_BOLD, COLOR_RED},
    {Style::graph, A_NORMAL, COLOR_GREEN},
    {Style::selected, A_REVERSE, kDefaultColour},
    {Style::prompt, A_BOLD, kDefaultColour},
}};

struct KeyRow {
    bool isCode;  // a key of the terminal, not a character
    wint_t value;
    KeyCode code;
};

constexpr wint_t control(char letter) {
    return static_cast<wint_t>(letter - '@');
}

constexpr KeyRow kKeys[] = {
    {true, KEY_UP, KeyCode::up},
    {true, KEY_DOWN, KeyCode::down},
    {true, KEY_LEFT, KeyCode::left},
    {true, KEY_RIGHT, KeyCode::right},
    {true, KEY_PPAGE, KeyCode::pageUp},
    {false, control('B'), KeyCode::pageUp},
    {true, KEY_NPAGE, KeyCode::pageDown},
    {false, control('F'), KeyCode::pageDown},
    {true, KEY_HOME, KeyCode::home},
    {false, control('A'), KeyCode::home},
    {true, KEY_END, KeyCode::end},
    {false, control('E'), KeyCode::end},
    {true, KEY_ENTER, KeyCode::enter},
    {false, control('M'), KeyCode::enter},
    {false, control('J'), KeyCode::enter},
    {false, control('['), KeyCode::escape},
    {true, KEY_BACKSPACE, KeyCode::backspace},
    {false, control('H'), KeyCode::backspace},
    {false, 0x7f, KeyCode::backspace},
    {true, KEY_DC, KeyCode::erase},
    {false, control('D'), KeyCode::erase},
    {false, control('U'), KeyCode::clearLine},
    {false, control('I'), KeyCode::tab},
    {false, control('L'), KeyCode::redraw},
};

// Empty for keys and characters without a meaning.
std::optional<Key> decodeKey(bool isCode, wint_t value) {
    const auto* const row = std::ranges::find_if(
        kKeys, [&](const KeyRow& each) { return each.isCode == isCode && each.value == value; });
    if (row != std::end(kKeys)) {
        return Key{row->code, ""};
    }
    std::array<char, MB_LEN_MAX> bytes{};
    std::mbstate_t state{};
    const auto character = static_cast<wchar_t>(value);
    const std::size_t size =
        isCode || ::wcwidth(character) < 0 ? 0 : std::wcrtomb(bytes.data(), character, &state);
    if (size == 0 || size > bytes.size()) {
        return std::nullopt;
    }
    return Key{KeyCode::character, {bytes.data(), size}};
}

short findColourPair(const Look& look) {
    return static_cast<short>(&look - kLooks.data() + 1);
}

void prepareColours() {
    if (!::has_colors()) {
        return;
    }
    ::start_color();
    ::use_default_colors();
    for (const Look& look : kLooks) {
        ::init_pair(findColourPair(look), look.colour, kDefaultColour);
    }
}

void showSpan(const Span& span) {
    const auto* const look = std::ranges::find(kLooks, span.style, &Look::style);
    ::attr_set(look->attributes, ::has_colors() ? findColourPair(*look) : short{0}, nullptr);
    ::addnstr(span.text.data(), static_cast<int>(span.text.size()));
}

std::string terminalName() {
    const char* const name = std::getenv("TERM");
    return name ? name : "";
}

}  // namespace

void checkTerminal() {
    if (::isatty(STDIN_FILENO) == 0 || ::isatty(STDOUT_FILENO) == 0) {
        throw cli::UsageError("standard input and output must be a terminal");
    }
    const std::string name = terminalName();
    if (name.empty()) {
        throw cli::UsageError("TERM is not set");
    }
    int error = 0;
    if (::setupterm(nullptr, STDOUT_FILENO, &error) != OK) {
        throw cli::UsageError("unknown terminal type in TERM: " + name);
    }
    const std::unique_ptr<TERMINAL, int (*)(TERMINAL*)> description(cur_term, ::del_curterm);
    std::array<char, 4> moveCursor{"cup"};
    if (!::tigetstr(moveCursor.data())) {
        throw cli::UsageError("the terminal type in TERM cannot move the cursor: " + name);
    }
}

struct Screen::Terminal {
    Terminal() : screen(::newterm(nullptr, stdout, stdin)) {
        if (!screen) {
            throw cli::UsageError("the terminal cannot be drawn on");
        }
    }
    ~Terminal() {
        ::endwin();
        ::delscreen(screen);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    SCREEN* screen;
};

Screen::Screen() {
    terminal_ = std::make_unique<Terminal>();
    ::set_escdelay(kEscapeMilliseconds);
    ::cbreak();
    ::noecho();
    ::nonl();
    ::keypad(stdscr, true);
    ::nodelay(stdscr, true);
    prepareColours();
}

Screen::~Screen() = default;

Size Screen::size() const {
    return {static_cast<std::size_t>(std::max(::getmaxy(stdscr), 0)),
            static_cast<std::size_t>(std::max(::getmaxx(stdscr), 0))};
}

void Screen::resize() {
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0) {
        ::resizeterm(size.ws_row, size.ws_col);
        forget();
    }
}

void Screen::show(const ScreenContent& content) {
    ::werase(stdscr);
    for (std::size_t row = 0; row < content.lines.size(); ++row) {
        ::wmove(stdscr, static_cast<int>(row), 0);
        for (const Span& span : content.lines[row]) {
            showSpan(span);
        }
    }
    ::curs_set(content.cursor ? 1 : 0);
    if (content.cursor) {
        ::wmove(stdscr, static_cast<int>(content.cursor->row),
                static_cast<int>(content.cursor->column));
    }
    ::wrefresh(stdscr);
}

void Screen::forget() {
    ::clearok(stdscr, true);
}

std::vector<Key> Screen::keys() {
    std::vector<Key> keys;
    wint_t value = 0;
    for (int kind = ::wget_wch(stdscr, &value); kind != ERR; kind = ::wget_wch(stdscr, &value)) {
        if (const auto key = decodeKey(kind == KEY_CODE_YES, value)) {
            keys.push_back(*key);
        }
    }
    return keys;
}

}  // namespace pallctl::top
