// Whatever a device says and a person types, the screen is filled to its edges and no further, and
// nothing on it commands the terminal. The input is a number of rows and one of columns, a byte
// each, then messages, parted by a zero byte; one that begins with "k" is keys instead.

#include <clocale>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz_target.h"
#include "pallctl/top/layout.h"
#include "pallctl/top/line_layout.h"

namespace {

using namespace pallctl::top;

bool hasControl(const std::string& text) {
    for (const char character : text) {
        if (static_cast<unsigned char>(character) < 0x20 || character == 0x7f) {
            return true;
        }
    }
    return false;
}

// Bytes that are no character of the terminal's stand for its other keys.
void press(View& view, const std::string& keys) {
    for (const char byte : keys) {
        const auto number = static_cast<unsigned char>(byte);
        const bool isCharacter = number >= 0x20 && number < 0x7f;
        constexpr auto kKeys = static_cast<unsigned char>(KeyCode::redraw) + 1;
        const Key key{isCharacter ? KeyCode::character : static_cast<KeyCode>(number % kKeys),
                      {byte}};
        if (isCharacter || key.code != KeyCode::character) {
            view.press(key, Moment(0));
        }
    }
}

void handleMessage(DeviceState& state, std::string payload, Moment at) {
    payload.push_back('\0');
    try {
        auto bytes = std::make_unique<std::vector<char>>(payload.begin(), payload.end());
        state.take(TarnInternalMessage(std::move(bytes)), at);
    } catch (const std::runtime_error&) {
        // No message.
    }
}

void check(const ScreenContent& content, const Size& size) {
    require(content.lines.size() == size.rows);
    for (const Line& line : content.lines) {
        require(lineWidth(line) == size.columns);
        for (const Span& span : line) {
            require(!hasControl(span.text));
        }
    }
    require(!content.cursor || content.cursor->row < size.rows);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QuietLog quiet;
    std::setlocale(LC_CTYPE, "C.UTF-8");
    if (size < 2) {
        return 0;
    }
    const Size screen{data[0], data[1]};
    std::string text = textOf(data + 2, size - 2);
    DeviceState state;
    View view(state, SourceKind::device);
    Moment now{0};
    while (!text.empty()) {
        const size_t end = std::min(text.find('\0'), text.size());
        const std::string piece = text.substr(0, end);
        text.erase(0, end + 1);
        now += std::chrono::seconds(1);
        if (piece.starts_with("k")) {
            press(view, piece.substr(1));
        } else {
            handleMessage(state, piece, now);
        }
        check(renderScreen({state, view, Status(), now, Charset::unicode}, screen), screen);
    }
    return 0;
}
