#include "pallctl/top/line_editor.h"

#include <clocale>

#include <gtest/gtest.h>

namespace pallctl::top {
namespace {

void press(LineEditor& line, std::initializer_list<KeyCode> codes) {
    for (const KeyCode code : codes) {
        EXPECT_TRUE(line.press({code, ""}));
    }
}

TEST(LineEditorTest, BeginsBehindItsText) {
    LineEditor line("ab");
    line.press({KeyCode::character, "c"});
    EXPECT_EQ(line.text(), "abc");
    EXPECT_EQ(line.textBeforeCursor(), "abc");
}

TEST(LineEditorTest, InsertsWhereTheCursorIs) {
    LineEditor line("ac");
    press(line, {KeyCode::left});
    line.press({KeyCode::character, "b"});
    EXPECT_EQ(line.text(), "abc");
    EXPECT_EQ(line.textBeforeCursor(), "ab");
    press(line, {KeyCode::home});
    EXPECT_EQ(line.textBeforeCursor(), "");
    press(line, {KeyCode::right, KeyCode::end});
    EXPECT_EQ(line.textBeforeCursor(), "abc");
}

TEST(LineEditorTest, RemovesWholeCharacters) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    LineEditor line("a東b");
    press(line, {KeyCode::left, KeyCode::backspace});
    EXPECT_EQ(line.text(), "ab");
    press(line, {KeyCode::home, KeyCode::erase});
    EXPECT_EQ(line.text(), "b");
    press(line, {KeyCode::clearLine});
    EXPECT_EQ(line.text(), "");
}

TEST(LineEditorTest, StaysInsideItsText) {
    LineEditor line("a");
    press(line, {KeyCode::right, KeyCode::erase, KeyCode::left, KeyCode::left});
    line.press({KeyCode::backspace, ""});
    EXPECT_EQ(line.text(), "a");
    EXPECT_EQ(line.textBeforeCursor(), "");
}

TEST(LineEditorTest, LeavesOtherKeysToOthers) {
    LineEditor line("a");
    EXPECT_FALSE(line.press({KeyCode::enter, ""}));
    EXPECT_FALSE(line.press({KeyCode::up, ""}));
    EXPECT_EQ(line.text(), "a");
}

}  // namespace
}  // namespace pallctl::top
