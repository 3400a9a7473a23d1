// One loop waits for keys, signals and the source, and draws at most every kMinFrameInterval unless
// a key was pressed. After a new size it draws everything twice: at once, and again after
// kSettleTime, because a terminal may take its new size only after it has told the programs, and
// then has garbled what they drew in between.

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <clocale>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "cli/signal_fd.h"
#include "pallctl/commands/commands.h"
#include "pallctl/top/layout.h"
#include "pallctl/top/live_source.h"
#include "pallctl/top/recording_source.h"
#include "pallctl/top/screen.h"

namespace pallctl {

namespace {

using namespace top;

using Clock = std::chrono::steady_clock;

// A busy bus redraws the screen no more often than is visible.
constexpr Moment kMinFrameInterval = std::chrono::milliseconds(50);

constexpr Moment kSettleTime = std::chrono::milliseconds(500);

// The event loop: keys, signals and the source.
class Loop {
  public:
    Loop(DataSource& source, SourceKind kind, cli::SignalFD& signals, Screen& screen)
        : source_(source), view_(source.state(), kind), signals_(signals), screen_(screen) {}

    // Runs until the end. Returns the signal that caused it, or 0.
    int run();

  private:
    void step();
    void draw();
    void wait();
    void takeSignals();
    void resize();
    void redrawSettled();
    void end(int signal);
    void takeKeys();
    int millisecondsToWait() const;

    DataSource& source_;
    View view_;
    cli::SignalFD& signals_;
    Screen& screen_;
    const Charset charset_ = detectCharset();
    Clock::time_point stepped_ = Clock::now();
    Clock::time_point drawn_{};
    std::optional<Clock::time_point> settled_;  // when to draw everything again after a new size
    bool urgent_ = true;                        // the user waits for the screen
    bool late_ = false;                         // something has not been drawn yet
    bool done_ = false;
    int signal_ = 0;
};

int Loop::run() {
    while (!done_) {
        step();
        redrawSettled();
        draw();
        wait();
    }
    return signal_;
}

void Loop::step() {
    const auto now = Clock::now();
    source_.step(view_, std::chrono::duration_cast<Moment>(now - stepped_));
    stepped_ = now;
}

void Loop::draw() {
    late_ = !urgent_ && Clock::now() - drawn_ < kMinFrameInterval;
    if (late_) {
        return;
    }
    urgent_ = false;
    const Size size = screen_.size();
    view_.setPage(countTableRows(size));
    const Status status = source_.status();
    screen_.show(renderScreen({source_.state(), view_, status, source_.now(), charset_}, size));
    drawn_ = Clock::now();
}

void Loop::wait() {
    std::array<pollfd, 3> watched{{{STDIN_FILENO, POLLIN, 0},
                                   {signals_.descriptor(), POLLIN, 0},
                                   {source_.descriptor(), POLLIN, 0}}};
    ::poll(watched.data(), watched.size(), millisecondsToWait());
    takeSignals();
    if (watched[0].revents & ~POLLIN) {
        end(SIGHUP);  // the terminal has gone, perhaps without a signal
    } else if (watched[0].revents != 0) {
        takeKeys();
    }
}

// For poll(2): -1 is forever.
int Loop::millisecondsToWait() const {
    auto next = source_.untilNext();
    if (late_) {
        next = std::min(next.value_or(kMinFrameInterval), kMinFrameInterval);
    }
    if (settled_) {
        const auto left = std::chrono::ceil<Moment>(*settled_ - Clock::now());
        next = std::clamp(left, Moment(0), next.value_or(kSettleTime));
    }
    return next ? static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(*next).count())
                : -1;
}

void Loop::takeSignals() {
    while (const int signal = signals_.take()) {
        urgent_ = true;
        if (signal == SIGWINCH) {
            resize();
        } else {
            end(signal);
        }
    }
}

void Loop::resize() {
    screen_.resize();
    settled_ = Clock::now() + kSettleTime;
}

void Loop::redrawSettled() {
    if (settled_ && Clock::now() >= *settled_) {
        settled_.reset();
        screen_.resize();
        urgent_ = true;
    }
}

void Loop::end(int signal) {
    signal_ = signal;
    done_ = true;
}

void Loop::takeKeys() {
    urgent_ = true;
    for (const Key& key : screen_.keys()) {
        const Request request = view_.press(key, source_.now());
        done_ = done_ || request == Request::quit;
        if (request == Request::redraw) {
            screen_.forget();
        }
        source_.carryOut(request, view_);
    }
}

// A failed recording is reported once the terminal is restored.
ExitStatus finish(DataSource& source) {
    const auto failure = source.finish();
    if (failure) {
        client::complain("top", *failure);
    }
    return failure ? kFailed : kSuccess;
}

struct Arguments {
    std::string record;  // the file to record to from the beginning; empty: none
    std::string play;    // the recording to show instead of a device; empty: none
};

std::unique_ptr<DataSource> makeSource(client::ConnectionOptions connection,
                                       const Arguments& arguments) {
    if (arguments.play.empty()) {
        connection.reportsFramingErrors = false;  // standard error would go over the screen
        return std::make_unique<LiveSource>(connection, arguments.record);
    }
    try {
        return std::make_unique<RecordingSource>(arguments.play, connection.object);
    } catch (const std::runtime_error& error) {
        throw cli::UsageError(error.what());
    }
}

// Returns the signal that ended the view, or 0.
int runScreen(DataSource& source, SourceKind kind, cli::SignalFD& signals) {
    Screen screen;
    return Loop(source, kind, signals, screen).run();
}

ExitStatus runTop(const Options& options, const Arguments& arguments) {
    requirePlainFormat(options);
    std::setlocale(LC_CTYPE, "");
    checkTerminal();  // before a recording is started
    int signal = 0;
    ExitStatus status = kSuccess;
    {
        cli::SignalFD signals({SIGINT, SIGTERM, SIGHUP, SIGWINCH});
        const auto source = makeSource(options.connection(), arguments);
        const auto kind = arguments.play.empty() ? SourceKind::device : SourceKind::recording;
        signal = runScreen(*source, kind, signals);
        status = finish(*source);
    }
    if (signal != 0) {
        cli::endBySignal(signal);
    }
    return status;
}

}  // namespace

void addTop(cli::Command program, const Options& options) {
    cli::Command command = program.addCommand("top", "Live full-screen view");
    const auto arguments = std::make_shared<Arguments>();
    command.add("--record", arguments->record, "Record to this file").kind("FILE");
    command.add("--play", arguments->play, "Show this recording; needs no bus")
        .kind("FILE")
        .excludes("--record");
    command.notes("Press ? for the keys.");
    command.work([&options, arguments] { return runTop(options, *arguments); });
}

}  // namespace pallctl
