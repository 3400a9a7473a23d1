#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "harness/tmux.h"
#include "on_pallbus.h"
#include "pallframe/simulation/devices.h"

// `pallctl top` on a terminal, beside the simulated bus and the daemon of a frame.
class OnTop : public OnPallbus {
  protected:
    explicit OnTop(std::string_view product = "Quorane") : OnPallbus(product) {}

    // Runs it on a new terminal. Before it the terminal shows "before" and behind it "ended with
    // STATUS"; its settings are kept in files. `before` stands before the program, as behind
    // env(1).
    void open(const Words& words = {}, harness::Tmux::Size size = {}, const Words& before = {});
    // The same with bus and daemon running, and waits until it shows them.
    void openOnDevice(const Words& words = {}, harness::Tmux::Size size = {});

    // Goes to a parameter, by its whole name, and begins to edit it.
    void edit(const std::string& leaf) const;
    // Puts this value in the place of the present one, up to the question.
    void propose(const std::string& leaf, const std::string& value) const;

    // The rows that hold the text.
    std::vector<std::string> rowsWith(const std::string& text) const;
    // Whether the terminal's settings are what they were before.
    bool terminalIsAsBefore() const;

    std::optional<harness::Tmux> terminal;
};
