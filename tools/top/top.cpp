#include "top/top.h"

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <clocale>

#include "top/layout.h"
#include "top/screen.h"
#include "top/signals.h"
#include "top/stage.h"
#include "top/terminal.h"

namespace top {

namespace {

using Clock = std::chrono::steady_clock;

// A bus with much to say redraws the screen no more often than a person can see.
constexpr Moment kBetweenPictures = std::chrono::milliseconds(50);

std::unique_ptr<Stage> makeStage(const Options& options) {
    return options.play.empty() ? makeLiveStage(options.reach, options.record)
                                : makePlayStage(options.play, options.reach.object);
}

// Keys, signals and the stage, taken as they come.
class Loop {
  public:
    Loop(Stage& stage, Source source, Signals& signals, Screen& screen)
        : stage_(stage), view_(stage.board(), source), signals_(signals), screen_(screen) {}

    // Until it is to end; gives the signal that ended it, 0 for none.
    int run();

  private:
    void step();
    void draw();
    void wait();
    void takeSignals();
    void end(int signal);
    void takeKeys();
    int millisecondsToWait() const;

    Stage& stage_;
    View view_;
    Signals& signals_;
    Screen& screen_;
    const Charset charset_ = charsetOfLocale();
    Clock::time_point stepped_ = Clock::now();
    Clock::time_point drawn_{};
    bool urgent_ = true;  // the person waits for the picture
    bool late_ = false;   // something has not been drawn yet
    bool done_ = false;
    int signal_ = 0;
};

int Loop::run() {
    while (!done_) {
        step();
        draw();
        wait();
    }
    return signal_;
}

void Loop::step() {
    const auto now = Clock::now();
    stage_.step(view_, std::chrono::duration_cast<Moment>(now - stepped_));
    stepped_ = now;
}

void Loop::draw() {
    late_ = !urgent_ && Clock::now() - drawn_ < kBetweenPictures;
    if (late_) {
        return;
    }
    urgent_ = false;
    const Size size = screen_.size();
    view_.setPage(tableRows(size));
    const Status status = stage_.status();
    screen_.show(layOut({stage_.board(), view_, status, stage_.now(), charset_}, size));
    drawn_ = Clock::now();
}

void Loop::wait() {
    std::array<pollfd, 3> watched{{{STDIN_FILENO, POLLIN, 0},
                                   {signals_.descriptor(), POLLIN, 0},
                                   {stage_.descriptor(), POLLIN, 0}}};
    ::poll(watched.data(), watched.size(), millisecondsToWait());
    takeSignals();
    if (watched[0].revents & ~POLLIN) {
        end(SIGHUP);  // the terminal has gone, also where nobody sends the signal for it
    } else if (watched[0].revents != 0) {
        takeKeys();
    }
}

// For poll(2): -1 is forever.
int Loop::millisecondsToWait() const {
    auto next = stage_.untilNext();
    if (late_) {
        next = std::min(next.value_or(kBetweenPictures), kBetweenPictures);
    }
    return next ? static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(*next).count())
                : -1;
}

void Loop::takeSignals() {
    while (const auto signal = signals_.take()) {
        urgent_ = true;
        if (*signal == SIGWINCH) {
            screen_.resize();
        } else {
            end(*signal);
        }
    }
}

void Loop::end(int signal) {
    signal_ = signal;
    done_ = true;
}

void Loop::takeKeys() {
    urgent_ = true;
    for (const Key& key : screen_.keys()) {
        const Request request = view_.press(key, stage_.now());
        done_ = done_ || request == Request::quit;
        if (request == Request::redraw) {
            screen_.forget();
        }
        stage_.carryOut(request, view_);
    }
}

int runScreen(const Options& options, Stage& stage, Signals& signals) {
    Screen screen;
    const Source source = options.play.empty() ? Source::device : Source::recording;
    return Loop(stage, source, signals, screen).run();
}

// What was to be recorded and is not is told when the screen is the person's again.
pallctl::ExitStatus finish(Stage& stage) {
    const auto failure = stage.finish();
    if (failure) {
        pallctl::complain("top", *failure);
    }
    return failure ? pallctl::kFailed : pallctl::kSuccess;
}

struct End {
    int signal = 0;  // 0: none
    pallctl::ExitStatus status = pallctl::kSuccess;
};

End runStage(const Options& options) {
    checkTerminal();  // before a recording is begun
    Signals signals;
    const auto stage = makeStage(options);
    const int signal = runScreen(options, *stage, signals);
    return {signal, finish(*stage)};
}

}  // namespace

pallctl::ExitStatus run(const Options& options) {
    std::setlocale(LC_CTYPE, "");
    const End end = runStage(options);
    if (end.signal != 0) {
        endBy(end.signal);
    }
    return end.status;
}

}  // namespace top
